#include "Foundation/JSONReader.h"

#include <algorithm>
#include <array>
#include <limits>
#include <memory>
#include <mutex>
#include <new>
#include <utility>
#include <vector>

#include <simdjson.h>

#include "Foundation/JSONNumber.h"
#include "Foundation/UTF8.h"

namespace Foundation {

using Reason = DecodingError::Reason;

namespace {

/// simdjson's first stage: where the tokens of a text start. It checks the UTF-8, that each text ends, and that no text
/// holds a control character; all the rest is the reader's. The second stage would cost as much again, and checks
/// nothing in what is skipped.
class Tokens {
public:
    using Implementation = simdjson::internal::dom_parser_implementation;

    void find(std::string_view text) {
        if (text.empty()) check(simdjson::EMPTY);
        // No JSON text ends with a character beyond ASCII, and in the middle of one simdjson would read on.
        if (static_cast<unsigned char>(text.back()) >= 0x80) {
            if (!isValidUTF8(text)) check(simdjson::UTF8_ERROR);
            throw DecodingError(Reason::malformed, {}, "not valid JSON: the end is not that of a value");
        }
        if (text.size() > capacity_) {
            capacity_ = 0;
            check(implementation_ == nullptr ? simdjson::get_active_implementation()->create_dom_parser_implementation(
                                                   text.size(), 1, implementation_)
                                             : implementation_->set_capacity(text.size()));
            capacity_ = text.size();
        }
        check(implementation_->stage1(reinterpret_cast<const std::uint8_t*>(text.data()), text.size(),
                                      simdjson::stage1_mode::regular));
    }

    JSONReader::Place begin() const { return implementation_->structural_indexes.get(); }
    JSONReader::Place end() const { return begin() + implementation_->n_structural_indexes; }
    std::size_t capacity() const { return capacity_; }

private:
    static void check(simdjson::error_code error) {
        if (error == simdjson::MEMALLOC) throw std::bad_alloc();
        if (error == simdjson::EMPTY) throw DecodingError(Reason::malformed, {}, "not valid JSON: there is no value");
        if (error != simdjson::SUCCESS)
            throw DecodingError(Reason::malformed, {},
                                std::string("not valid JSON: ") + simdjson::error_message(error));
    }

    std::unique_ptr<Implementation> implementation_;
    std::size_t capacity_ = 0;
};

/// Tokens for the next texts. They belong to no thread: most threads end behind a few texts, and to register what a
/// thread is to destroy waits for a library that another thread is loading.
class Spares {
public:
    /// Never destroyed: threads may still read when the process ends.
    static Spares& shared() {
        static auto* const spares = new Spares;
        return *spares;
    }

    std::unique_ptr<Tokens> take() {
        {
            const std::lock_guard lock(mutex_);
            if (!kept_.empty()) {
                auto tokens = std::move(kept_.back());
                kept_.pop_back();
                return tokens;
            }
        }
        return std::make_unique<Tokens>();
    }

    /// Keeps the tokens' memory, unless it has grown out of proportion or there is enough.
    void give(std::unique_ptr<Tokens> tokens) {
        if (tokens->capacity() > largest) return;
        const std::lock_guard lock(mutex_);
        if (kept_.size() < kept_.capacity()) kept_.push_back(std::move(tokens));
    }

private:
    static constexpr std::size_t largest = std::size_t{1} << 20;
    static constexpr std::size_t maximum = 8;

    Spares() { kept_.reserve(maximum); }

    std::mutex mutex_;
    std::vector<std::unique_ptr<Tokens>> kept_;
};

/// How much deeper what follows a token is, by the token's first character. Without a branch: brackets and braces differ
/// by one bit, and no other token begins with either.
int depthChange(char character) {
    const int kind = character | ('{' ^ '[');
    return (kind == '{' ? 1 : 0) - (kind == '}' ? 1 : 0);
}

class Borrowed {
public:
    Borrowed() : tokens_(Spares::shared().take()) {}
    ~Borrowed() { Spares::shared().give(std::move(tokens_)); }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    Tokens* operator->() const { return tokens_.get(); }

private:
    std::unique_ptr<Tokens> tokens_;
};

}  // namespace

void parseJSON(std::string_view text, FunctionRef<void(JSONReader& value)> read) {
    const Borrowed tokens;
    tokens->find(text);
    JSONReader::Cursor cursor{.text = text.data(), .next = tokens->begin(), .end = tokens->end()};
    cursor.lookAhead = 16 * static_cast<std::size_t>(cursor.end - cursor.next);
    JSONReader value(cursor);
    read(value);
    if (value.isUnread()) value.skip();
    if (cursor.next != cursor.end) value.failMalformed("something follows the value");
}

bool JSONReader::Cursor::findEscape(std::string_view content) {
    // Not to the text's end: a value that is read again would have all of it searched again.
    constexpr std::size_t window = 4096;
    const std::size_t start = static_cast<std::size_t>(content.data() - text);
    const std::size_t size = std::min(content.size() + window, *end - start);
    const auto* const found = static_cast<const char*>(std::memchr(content.data(), '\\', size));
    cleanFrom = content.data();
    cleanTo = found != nullptr ? found : content.data() + size;
    return found != nullptr && found < content.data() + content.size();
}

/// What stands between a text's quotes, where there is a backslash among it.
void JSONReader::readEscaped(std::string_view content, std::string& text) const {
    static const auto* const parser = [] {
        std::unique_ptr<Tokens::Implementation> made;
        if (simdjson::get_active_implementation()->create_dom_parser_implementation(1, 1, made) != simdjson::SUCCESS)
            throw std::bad_alloc();
        return made.release();
    }();
    // simdjson reads and writes whole blocks, behind the end as well. Near the text's end it reads a copy.
    constexpr std::size_t padding = simdjson::SIMDJSON_PADDING;
    std::string source;
    const char* start = content.data();
    if (static_cast<std::size_t>(cursor_->text + *cursor_->end - start) < content.size() + padding) {
        source.reserve(content.size() + 1 + padding);
        start = source.append(content).append(1, '"').append(padding, '\0').data();
    }
    std::array<std::uint8_t, 1024> nearby;
    std::vector<std::uint8_t> large;
    std::uint8_t* target = nearby.data();
    if (content.size() + padding > nearby.size()) {
        large.resize(content.size() + padding);
        target = large.data();
    }
    const std::uint8_t* const end = parser->parse_string(reinterpret_cast<const std::uint8_t*>(start), target);
    if (end == nullptr) failMalformed("a text has a wrong escape");
    text.assign(reinterpret_cast<const char*>(target), static_cast<std::size_t>(end - target));
}

void JSONReader::read(double& real) {
    if (!readIfInRange(real))
        failExpecting(kind() == Kind::number ? "a number within the range of a double" : "a number");
}

bool JSONReader::readIfInRange(double& real) {
    const std::string_view text = token();
    if (kind() != Kind::number) return false;
    if (!isJSONNumber(text)) failMisspelled();
    const auto value = nearestDouble(text);
    if (!value) return false;
    real = *value;
    passOver();
    return true;
}

bool JSONReader::readUnusual(std::int64_t& integer) {
    if (kind() != Kind::number) return false;
    const std::string_view text = token();
    if (!isJSONNumber(text)) failMisspelled();
    const auto value = exactInteger(text);
    if (!value) return false;
    integer = *value;
    passOver();
    return true;
}

bool JSONReader::takeNull() {
    if (token() != "null") failMalformed("an unknown literal");
    passOver();
    return true;
}

void JSONReader::skip() {
    switch (kind()) {
        case Kind::null:
            null();
            break;
        case Kind::boolean:
            if (token() != "true" && token() != "false") failMalformed("an unknown literal");
            passOver();
            break;
        case Kind::number:
            // Its size does not matter: nobody reads it.
            if (!isJSONNumber(token())) failMisspelled();
            passOver();
            break;
        case Kind::text: {
            std::string ignored;
            const std::string_view skipped = content(start_);
            if (cursor_->hasEscape(skipped)) readEscaped(skipped, ignored);
            passOver();
            break;
        }
        case Kind::array:
            array([](JSONReader&) {});
            break;
        case Kind::object:
            object([](std::string_view, JSONReader&) {});  // which reads the keys' escapes as well
            break;
    }
}

bool JSONReader::isWrittenAsInteger() const {
    return token().find_first_of(".eE") == std::string_view::npos;
}

std::string JSONReader::path() const {
    // Far down, the place says no more than that it is far down.
    constexpr int deepestNamed = 32;
    if (parent_ == nullptr) return {};
    std::string path = parent_->path();
    if (depth_ > deepestNamed) return path;
    if (parent_->front() == '{') {
        // Its key stands in front of it, and the colon between.
        std::string key;
        readEscaped(content(start_ - 2), key);
        return path.empty() ? key : path + '.' + key;
    }
    return path + '[' + std::to_string(parent_->commasBefore(start_, std::numeric_limits<std::size_t>::max())) + ']';
}

std::size_t JSONReader::commasBefore(Place place, std::size_t most) const {
    std::size_t commas = 0;
    int depth = 0;
    for (Place at = start_ + 1; at != place && depth >= 0 && commas < most; ++at) {
        const char character = cursor_->text[*at];
        depth += depthChange(character);
        commas += character == ',' && depth == 0 ? 1 : 0;
    }
    return commas;
}

std::size_t JSONReader::count(std::size_t most) const {
    return kind() != Kind::array || cursor_->at(start_ + 1) == ']' ? 0 : commasBefore(cursor_->end, most - 1) + 1;
}

bool JSONReader::isRepeated() const {
    std::string key;
    std::string other;
    readEscaped(content(start_ - 2), key);
    int depth = 0;
    for (Place at = start_; at != cursor_->end && depth >= 0 && cursor_->lookAhead > 0; ++at, --cursor_->lookAhead) {
        const char character = cursor_->at(at);
        depth += depthChange(character);
        if (character == ',' && depth == 0) {
            readEscaped(rawKey(at + 1), other);
            if (key == other) return true;
        }
    }
    return false;
}

std::string_view JSONReader::raw() {
    skip();
    const std::string_view last = cursor_->token(cursor_->next - 1);
    const char* const start = cursor_->text + *start_;
    return {start, static_cast<std::size_t>(last.data() + last.size() - start)};
}

void JSONReader::failExpecting(const std::string& expectation) {
    skip();
    throw DecodingError(Reason::typeMismatch, path(), "expected " + expectation);
}

void JSONReader::failMissing(std::string_view key) const {
    std::string place = path();
    if (!place.empty()) place += '.';
    throw DecodingError(Reason::keyNotFound, place.append(key), "missing");
}

void JSONReader::failMisspelled() const {
    const bool isMissing = std::string_view(",:]}").find(front()) != std::string_view::npos || token().empty();
    failMalformed(isMissing ? "a value is missing" : "a number or literal is misspelled");
}

void JSONReader::failMalformed(const char* reason) const {
    throw DecodingError(Reason::malformed, path(), std::string("not valid JSON: ") + reason);
}

}  // namespace Foundation
