#include "Foundation/JSONReader.h"

#include <charconv>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

#include <simdjson.h>

namespace Foundation {

namespace ondemand = simdjson::ondemand;
using Reason = DecodingError::Reason;

namespace {

constexpr std::string_view whitespace = " \t\n\r";

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

std::size_t digitsFrom(std::string_view text, std::size_t start) {
    std::size_t end = start;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    return end;
}

/// The grammar of RFC 8259, section 6.
bool isNumber(std::string_view text) {
    std::size_t at = text.starts_with('-') ? 1 : 0;
    const std::size_t integerEnd = digitsFrom(text, at);
    if (integerEnd == at || (text[at] == '0' && integerEnd > at + 1)) return false;
    at = integerEnd;
    if (at < text.size() && text[at] == '.') {
        const std::size_t end = digitsFrom(text, at + 1);
        if (end == at + 1) return false;
        at = end;
    }
    if (at < text.size() && (text[at] == 'e' || text[at] == 'E')) {
        ++at;
        if (at < text.size() && (text[at] == '+' || text[at] == '-')) ++at;
        const std::size_t end = digitsFrom(text, at);
        if (end == at) return false;
        at = end;
    }
    return at == text.size();
}

/// The number as a double; nothing where it is too large for one. The text keeps to the grammar.
std::optional<double> nearestDouble(std::string_view text) {
    double value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc()) return value;
    // from_chars tells an underflow from an overflow by nothing but this.
    static const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
    value = ::strtod_l(std::string(text).c_str(), nullptr, classic);
    if (std::isinf(value)) return std::nullopt;
    return value;
}

/// A parser and the padded copy of the text that it reads.
struct Workspace {
    ondemand::parser parser;
    std::string text;
};

/// Workspaces for the next texts. They belong to no thread: most threads end behind a few texts, and to register what
/// a thread is to destroy waits for a library that another thread is loading.
class Spares {
public:
    /// Never destroyed: threads may still read when the process ends.
    static Spares& shared() {
        static auto* const spares = new Spares;
        return *spares;
    }

    std::unique_ptr<Workspace> take() {
        {
            const std::lock_guard lock(mutex_);
            if (!kept_.empty()) {
                auto workspace = std::move(kept_.back());
                kept_.pop_back();
                return workspace;
            }
        }
        return std::make_unique<Workspace>();
    }

    /// Keeps the workspace, unless it has grown out of proportion or there are enough.
    void give(std::unique_ptr<Workspace> workspace) {
        if (workspace->text.capacity() > largest) return;
        const std::lock_guard lock(mutex_);
        if (kept_.size() < kept_.capacity()) kept_.push_back(std::move(workspace));
    }

private:
    static constexpr std::size_t largest = std::size_t{1} << 20;
    static constexpr std::size_t maximum = 8;

    Spares() { kept_.reserve(maximum); }

    std::mutex mutex_;
    std::vector<std::unique_ptr<Workspace>> kept_;
};

class Borrowed {
public:
    Borrowed() : workspace_(Spares::shared().take()) {}
    ~Borrowed() { Spares::shared().give(std::move(workspace_)); }
    Borrowed(const Borrowed&) = delete;
    Borrowed& operator=(const Borrowed&) = delete;
    Workspace* operator->() const { return workspace_.get(); }

private:
    std::unique_ptr<Workspace> workspace_;
};

}  // namespace

/// What a reader needs of simdjson, kept out of the header.
struct JSONReading {
    static ondemand::value& value(const JSONReader& reader) { return *static_cast<ondemand::value*>(reader.value_); }

    template <class T>
    static T checked(const JSONReader& reader, simdjson::simdjson_result<T> result) {
        check(reader, result.error());
        return std::move(result).value_unsafe();
    }

    static void check(const JSONReader& reader, simdjson::error_code error) {
        if (error != simdjson::SUCCESS) reader.failMalformed(simdjson::error_message(error));
    }

    /// Hands a member or an element over; what the callback leaves unread is walked.
    static void visit(const JSONReader& parent, std::string_view key, std::size_t index, ondemand::value& value,
                      FunctionRef<void(JSONReader&)> callback) {
        JSONReader reader(&parent, key, index, &value);
        callback(reader);
        if (!reader.consumed_) reader.skip();
    }

    static void parse(std::string_view text, FunctionRef<void(JSONReader&)> read) {
        const JSONReader root(nullptr, {}, 0, nullptr);
        Borrowed work;
        // Wrapped into an array, a scalar is read like any other value, and whatever follows it is an error.
        work->text.reserve(text.size() + 2 + simdjson::SIMDJSON_PADDING);
        work->text.assign(1, '[').append(text).append(1, ']');
        const std::size_t length = work->text.size();
        work->text.append(simdjson::SIMDJSON_PADDING, '\0');

        ondemand::document document;
        check(root, work->parser.iterate(work->text.data(), length, work->text.size()).get(document));
        ondemand::array array = checked(root, document.get_array());
        std::size_t count = 0;
        for (auto element : array) {
            if (++count > 1) break;
            ondemand::value value = checked(root, element);
            JSONReader reader(nullptr, {}, 0, &value);
            read(reader);
            if (!reader.consumed_) reader.skip();
        }
        if (count == 0) root.failMalformed("there is no value");
        // The reading has come to the end when there is no location any more.
        if (count > 1 || document.current_location().error() != simdjson::OUT_OF_BOUNDS)
            root.failMalformed("something follows the value");
    }
};

void parseJSON(std::string_view text, FunctionRef<void(JSONReader& value)> read) {
    JSONReading::parse(text, read);
}

JSONReader::JSONReader(const JSONReader* parent, std::string_view key, std::size_t index, void* value)
    : parent_(parent), key_(key), index_(index), depth_(parent != nullptr ? parent->depth_ + 1 : 1), value_(value) {}

std::string_view JSONReader::token() const {
    std::string_view token = JSONReading::value(*this).raw_json_token();
    const std::size_t end = token.find_last_not_of(whitespace);
    return token.substr(0, end == std::string_view::npos ? 0 : end + 1);
}

JSONReader::Kind JSONReader::kind() const {
    const std::string_view text = token();
    switch (text.empty() ? '\0' : text.front()) {
        case '{':
            return Kind::object;
        case '[':
            return Kind::array;
        case '"':
            return Kind::text;
        case 't':
        case 'f':
            return Kind::boolean;
        case 'n':
            return Kind::null;
        default:
            return Kind::number;
    }
}

void JSONReader::object(FunctionRef<void(std::string_view key, JSONReader& value)> member) {
    if (kind() != Kind::object) failExpecting("an object");
    if (depth_ > maximumDepth) throw DecodingError(Reason::malformed, {}, "not valid JSON: nested too deeply");
    consumed_ = true;
    for (auto entry : JSONReading::checked(*this, JSONReading::value(*this).get_object())) {
        ondemand::field field = JSONReading::checked(*this, std::move(entry));
        const char* start = field.key().raw();
        std::size_t length = 0;
        while (start[length] != '"' && start[length] != '\\')
            ++length;
        // Few keys have an escape: those alone are rewritten.
        const std::string_view key =
            start[length] == '"' ? std::string_view(start, length) : JSONReading::checked(*this, field.unescaped_key());
        JSONReading::visit(*this, key, 0, field.value(), [&](JSONReader& value) { member(key, value); });
    }
}

void JSONReader::array(FunctionRef<void(JSONReader& element)> element) {
    if (kind() != Kind::array) failExpecting("an array");
    if (depth_ > maximumDepth) throw DecodingError(Reason::malformed, {}, "not valid JSON: nested too deeply");
    consumed_ = true;
    std::size_t index = 0;
    for (auto entry : JSONReading::checked(*this, JSONReading::value(*this).get_array())) {
        ondemand::value value = JSONReading::checked(*this, std::move(entry));
        JSONReading::visit(*this, {}, index++, value, element);
    }
}

void JSONReader::read(std::string& text) {
    if (kind() != Kind::text) failExpecting("a text");
    text = JSONReading::checked(*this, JSONReading::value(*this).get_string());
    consumed_ = true;
}

// Scalars below are read from their spelling: simdjson's own conversions accept what the grammar does not, and are
// wrong for numbers of more than 19 digits. It passes over the token by itself.

void JSONReader::read(bool& boolean) {
    const std::string_view text = token();
    if (kind() != Kind::boolean) failExpecting("a boolean");
    if (text != "true" && text != "false") failMalformed("an unknown literal");
    boolean = text == "true";
    consumed_ = true;
}

void JSONReader::read(double& real) {
    const std::string_view text = token();
    if (kind() != Kind::number) failExpecting("a number");
    if (!isNumber(text)) failMalformed("a number or literal is misspelled");
    const auto value = nearestDouble(text);
    if (!value) failExpecting("a number within the range of a double");
    real = *value;
    consumed_ = true;
}

void JSONReader::read(std::int64_t& integer) {
    const std::string_view text = token();
    if (kind() != Kind::number) failExpecting("an integer");
    if (!isNumber(text)) failMalformed("a number or literal is misspelled");
    if (isWrittenAsInteger()) {
        if (std::from_chars(text.data(), text.data() + text.size(), integer).ec != std::errc())
            failExpecting("an integer of 64 bits");
    } else {
        const double value = nearestDouble(text).value_or(std::numeric_limits<double>::infinity());
        if (value < -0x1p63 || value >= 0x1p63 || value != std::trunc(value)) failExpecting("an integer");
        integer = static_cast<std::int64_t>(value);
    }
    consumed_ = true;
}

bool JSONReader::null() {
    if (kind() != Kind::null) return false;
    if (token() != "null") failMalformed("an unknown literal");
    consumed_ = true;
    return true;
}

void JSONReader::skip() {
    switch (kind()) {
        case Kind::null:
            null();
            break;
        case Kind::boolean: {
            bool ignored = false;
            read(ignored);
            break;
        }
        case Kind::number: {
            // Its size does not matter: nobody reads it.
            if (!isNumber(token())) failMalformed("a number or literal is misspelled");
            consumed_ = true;
            break;
        }
        case Kind::text: {
            std::string ignored;
            read(ignored);
            break;
        }
        case Kind::array:
            array([](JSONReader&) {});
            break;
        case Kind::object:
            object([](std::string_view, JSONReader&) {});
            break;
    }
}

bool JSONReader::isWrittenAsInteger() const {
    return token().find_first_of(".eE") == std::string_view::npos;
}

std::string JSONReader::path() const {
    if (parent_ == nullptr) return {};
    std::string path = parent_->path();
    if (key_.data() == nullptr) return path + '[' + std::to_string(index_) + ']';
    if (!path.empty()) path += '.';
    return path.append(key_);
}

std::string_view JSONReader::raw() {
    const char* const start = token().data();
    const bool isScalar = kind() != Kind::array && kind() != Kind::object;
    const std::string_view scalar = token();
    skip();
    if (isScalar) return scalar;
    // Behind a value stands at least the bracket of what holds it.
    const char* const end = JSONReading::checked(*this, JSONReading::value(*this).current_location());
    const std::string_view text(start, static_cast<std::size_t>(end - start));
    return text.substr(0, text.find_last_of("]}") + 1);
}

void JSONReader::failExpecting(const std::string& expectation) {
    if (!consumed_) skip();
    throw DecodingError(Reason::typeMismatch, path(), "expected " + expectation);
}

void JSONReader::failMissing(std::string_view key) const {
    std::string place = path();
    if (!place.empty()) place += '.';
    throw DecodingError(Reason::keyNotFound, place.append(key), "missing");
}

void JSONReader::failMalformed(const char* reason) const {
    throw DecodingError(Reason::malformed, path(), std::string("not valid JSON: ") + reason);
}

}  // namespace Foundation
