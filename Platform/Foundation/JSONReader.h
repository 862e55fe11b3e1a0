#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

#include "Foundation/DecodingError.h"
#include "Foundation/FunctionRef.h"

namespace Foundation {

/// One value of a JSON text (RFC 8259) while it is being read. A reader is handed to a callback and serves for the
/// length of that call; a value that the callback leaves unread is skipped, and checked all the same. Every read
/// throws `DecodingError` where the value is of another kind or the text is malformed. A value may be read again.
class JSONReader {
public:
    enum class Kind { null, boolean, number, text, array, object };

    /// Values nested deeper than this are refused.
    static constexpr int maximumDepth = 512;

    Kind kind() const;

    /// Reads an object, member by member in the text's order: `member(std::string_view key, JSONReader& value)`. Of
    /// equal keys each is handed over: the last one wins where the callback assigns, and an error that the callback
    /// throws for another one is passed over. The key is unescaped, and valid during the call.
    template <class Member>
    void object(Member&& member);

    /// The same, the keys as they are spelled. `unescaped` reads one that may have an escape, into the buffer.
    template <class Member>
    void objectWithRawKeys(Member&& member);
    std::string_view unescaped(std::string_view rawKey, std::string& buffer);

    /// Reads an array: `element(JSONReader& value)`.
    template <class Element>
    void array(Element&& element);

    /// Reads a text: as it stands here where it has no escape, else from the buffer. Valid as long as both stay.
    std::string_view readText(std::string& buffer);

    /// Nothing has changed in the arguments of these where they throw.
    void read(std::string& text);
    void read(bool& boolean);

    /// A number without fraction within range, however it is written (3, 3.0, 3e0).
    void read(std::int64_t& integer);

    /// The nearest double; a number too small for one is 0 or denormal, one too large is refused.
    void read(double& real);

    /// The same; false where there is no such number, and the value is then still to be read.
    bool readIfInRange(std::int64_t& integer);
    bool readIfInRange(double& real);

    /// Whether the value is null; if not, it is still to be read.
    bool null();

    /// Passes over the value and checks that it is well-formed, all the way down.
    void skip();

    /// Reads the value by `read(JSONReader&)`; what that throws, unless the text is malformed, makes this pass over
    /// the whole value and answer false.
    template <class Read>
    bool attempt(Read&& read);

    /// Where the value stands, for `revisit`.
    using Place = const std::uint32_t*;
    Place place() const { return start_; }

    /// Reads a member of this object once more, by `read(JSONReader&)`.
    template <class Read>
    void revisit(Place place, Read&& read);

    /// How many elements this array seems to have, from a look ahead; 0 where it is none. At most `most`.
    std::size_t count(std::size_t most) const;

    /// How many elements the outermost array will have, if the others are like those that have been read: `count`.
    std::size_t expectedCount(std::size_t count) const {
        const auto all = static_cast<std::size_t>(cursor_->end - start_);
        const auto read = static_cast<std::size_t>(cursor_->next - start_);
        return (count + count / 8) * all / read;
    }

    /// Whether the number is written with digits alone, and so is an integer by its spelling.
    bool isWrittenAsInteger() const;

    /// The value's own text, once it has been passed over and checked; valid as long as the whole text is.
    std::string_view raw();

    /// Where the value stands, as errors name it: "metadata.files[2]".
    std::string path() const;

    /// Throws the error for this place: "expected EXPECTATION", unless what stands there is no JSON at all.
    [[noreturn]] void failExpecting(const std::string& expectation);

    /// Throws the error for a key that this object lacks.
    [[noreturn]] void failMissing(std::string_view key) const;

private:
    friend void parseJSON(std::string_view text, FunctionRef<void(JSONReader& value)> read);

    /// A text's tokens: where each bracket, comma, colon, text, number and literal starts. `end` is one past the last
    /// of them, and can be read: it is the text's length.
    struct Cursor {
        const char* text;
        Place next;
        Place end;

        // Between these there is no backslash. Few texts have one, so that it is looked for in more than one at a time.
        const char* cleanFrom = nullptr;
        const char* cleanTo = nullptr;

        /// How many tokens may still be looked at to find that a key is repeated: a text full of wrong values that come
        /// again would have each look at all the others.
        std::size_t lookAhead = 0;

        char at(Place place) const { return place != end ? text[*place] : '\0'; }

        /// A token without the blanks behind it.
        std::string_view token(Place place) const {
            const char* const start = text + place[0];
            const char* last = text + place[1];
            while (last != start && isBlank(last[-1]))
                --last;
            return {start, static_cast<std::size_t>(last - start)};
        }

        /// Whether there is a backslash in what stands between a text's quotes.
        bool hasEscape(std::string_view content) {
            const bool isClean = content.data() >= cleanFrom && content.data() + content.size() <= cleanTo;
            return !isClean && findEscape(content);
        }
        bool findEscape(std::string_view content);
    };

    static bool isBlank(char character) {
        // The first comparison is all that most need.
        return static_cast<unsigned char>(character) <= ' ' &&
               (character == ' ' || character == '\n' || character == '\r' || character == '\t');
    }

    explicit JSONReader(Cursor& cursor) : start_(cursor.next), cursor_(&cursor) {}
    JSONReader(const JSONReader& parent, Place start)
        : start_(start), cursor_(parent.cursor_), parent_(&parent), depth_(parent.depth_ + 1) {}

    char front() const { return cursor_->at(start_); }
    std::string_view token() const { return start_ != cursor_->end ? cursor_->token(start_) : std::string_view(); }
    bool isUnread() const { return cursor_->next == start_; }
    void passOver() { cursor_->next = start_ + 1; }

    /// The place behind the opening bracket, which this value must begin with.
    Place enter(char opening, const char* expectation);
    /// Ends the value behind its closing bracket.
    void leave(Place closing) { cursor_->next = closing + 1; }
    /// Hands the value at the place over; what is behind it.
    template <class Read>
    Place visit(Place place, Read&& read);
    /// Whether a comma stands there, and otherwise the closing bracket.
    bool goesOn(Place place, char closing) const;
    std::string_view rawKey(Place place) const;
    /// What stands between a text's quotes. The value must be a text.
    std::string_view content(Place place) const;
    bool takeNull();

    /// Whether the object has the key of this value, its member, once more behind it.
    bool isRepeated() const;

    void readEscaped(std::string_view content, std::string& text) const;
    bool readUnusual(std::int64_t& integer);
    /// How many commas of this array, not of what it holds, stand in front of the place or its end; up to `most`.
    std::size_t commasBefore(Place place, std::size_t most) const;
    [[noreturn]] void failMalformed(const char* reason) const;
    [[noreturn]] void failMisspelled() const;

    // No more than this, for there is one for each value: the rest of its path can be found from where it stands.
    Place start_;
    Cursor* cursor_;
    const JSONReader* parent_ = nullptr;
    int depth_ = 1;
};

/// Reads the JSON text, which must hold one value and nothing behind it. Safe to call from several threads and from
/// within itself. Throws `DecodingError`, and what `read` throws.
void parseJSON(std::string_view text, FunctionRef<void(JSONReader& value)> read);

// What is called for each value stands here, so that a table's reading is compiled into one piece.

inline JSONReader::Kind JSONReader::kind() const {
    switch (front()) {
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

inline JSONReader::Place JSONReader::enter(char opening, const char* expectation) {
    if (front() != opening) failExpecting(expectation);
    if (depth_ > maximumDepth) failMalformed("nested too deeply");
    return start_ + 1;
}

inline bool JSONReader::goesOn(Place place, char closing) const {
    const char character = cursor_->at(place);
    if (character != ',' && character != closing) failMalformed("a comma or a closing bracket is missing");
    return character == ',';
}

inline std::string_view JSONReader::content(Place place) const {
    const char* const start = cursor_->text + place[0] + 1;
    const char* last = cursor_->text + place[1] - 1;
    while (last >= start && isBlank(*last))
        --last;
    if (last < start || *last != '"') failMalformed("a text does not end");
    return {start, static_cast<std::size_t>(last - start)};
}

inline std::string_view JSONReader::rawKey(Place place) const {
    if (cursor_->at(place) != '"' || cursor_->at(place + 1) != ':') failMalformed("a key or its colon is missing");
    return content(place);
}

template <class Read>
JSONReader::Place JSONReader::visit(Place place, Read&& read) {
    cursor_->next = place;
    JSONReader value(*this, place);
    read(value);
    if (value.isUnread()) value.skip();
    // Most values are one token. To know that without the cursor lets the next member begin before this one ends: what
    // goes through memory from each to the next would be half of the time.
    const char character = value.front();
    if (character == '{' || character == '[') [[unlikely]]
        return cursor_->next;
    return place + 1;
}

inline std::string_view JSONReader::unescaped(std::string_view rawKey, std::string& buffer) {
    if (!cursor_->hasEscape(rawKey)) return rawKey;
    readEscaped(rawKey, buffer);
    return buffer;
}

template <class Member>
void JSONReader::objectWithRawKeys(Member&& member) {
    Place at = enter('{', "an object");
    if (cursor_->at(at) == '}') return leave(at);
    for (;; ++at) {
        const std::string_view key = rawKey(at);
        at = visit(at + 2, [&](JSONReader& value) {
            try {
                member(key, value);
            } catch (const DecodingError& error) {
                if (error.reason() == DecodingError::Reason::malformed || !value.isRepeated()) throw;
                value.skip();
            }
        });
        if (!goesOn(at, '}')) return leave(at);
    }
}

template <class Member>
void JSONReader::object(Member&& member) {
    std::string buffer;
    objectWithRawKeys([&](std::string_view key, JSONReader& value) { member(unescaped(key, buffer), value); });
}

template <class Element>
void JSONReader::array(Element&& element) {
    Place at = enter('[', "an array");
    if (cursor_->at(at) == ']') return leave(at);
    for (;; ++at) {
        at = visit(at, element);
        if (!goesOn(at, ']')) return leave(at);
    }
}

template <class Read>
bool JSONReader::attempt(Read&& read) {
    try {
        read(*this);
        return true;
    } catch (const DecodingError& error) {
        if (error.reason() == DecodingError::Reason::malformed) throw;
        skip();
        return false;
    }
}

template <class Read>
void JSONReader::revisit(Place place, Read&& read) {
    const Place next = cursor_->next;
    visit(place, read);
    cursor_->next = next;
}

inline std::string_view JSONReader::readText(std::string& buffer) {
    if (front() != '"') failExpecting("a text");
    const std::string_view read = unescaped(content(start_), buffer);
    passOver();
    return read;
}

inline void JSONReader::read(std::string& text) {
    if (front() != '"') failExpecting("a text");
    const std::string_view read = content(start_);
    if (cursor_->hasEscape(read))
        readEscaped(read, text);
    else if (!read.empty())
        text.assign(read);
    else
        text.clear();
    passOver();
}

inline void JSONReader::read(bool& boolean) {
    const std::string_view text = token();
    if (text != "true" && text != "false") failExpecting("a boolean");
    boolean = text.front() == 't';
    passOver();
}

inline bool JSONReader::readIfInRange(std::int64_t& integer) {
    // Most are times: plain digits, too few to overflow.
    constexpr std::size_t safe = 18;
    const std::string_view text = token();
    if (text.empty() || text.size() > safe || (text.front() == '0' && text.size() > 1)) return readUnusual(integer);
    std::int64_t value = 0;
    for (const char character : text) {
        if (character < '0' || character > '9') return readUnusual(integer);
        value = value * 10 + (character - '0');
    }
    integer = value;
    passOver();
    return true;
}

inline void JSONReader::read(std::int64_t& integer) {
    if (!readIfInRange(integer)) failExpecting("an integer of 64 bits");
}

inline bool JSONReader::null() {
    return front() == 'n' && takeNull();
}

}  // namespace Foundation
