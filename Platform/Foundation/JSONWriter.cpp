#include "Foundation/JSONWriter.h"

#include <array>
#include <charconv>
#include <cmath>
#include <stdexcept>

#include "Foundation/UTF8.h"

namespace Foundation {

namespace {

template <class Number, class... Format>
void append(std::string& text, Number number, Format... format) {
    std::array<char, 40> digits{};
    const auto end = std::to_chars(digits.data(), digits.data() + digits.size(), number, format...).ptr;
    text.append(digits.data(), end);
}

}  // namespace

void JSONWriter::separate() {
    if (needsComma_) text_ += ',';
    needsComma_ = true;
}

JSONWriter& JSONWriter::beginObject() {
    separate();
    text_ += '{';
    needsComma_ = false;
    return *this;
}

JSONWriter& JSONWriter::endObject() {
    text_ += '}';
    needsComma_ = true;
    return *this;
}

JSONWriter& JSONWriter::beginArray() {
    separate();
    text_ += '[';
    needsComma_ = false;
    return *this;
}

JSONWriter& JSONWriter::endArray() {
    text_ += ']';
    needsComma_ = true;
    return *this;
}

JSONWriter& JSONWriter::key(std::string_view key) {
    separate();
    quote(key);
    text_ += ':';
    needsComma_ = false;
    return *this;
}

JSONWriter& JSONWriter::value(std::string_view text) {
    separate();
    quote(text);
    return *this;
}

JSONWriter& JSONWriter::value(bool boolean) {
    return raw(boolean ? "true" : "false");
}

JSONWriter& JSONWriter::value(std::int64_t integer) {
    separate();
    append(text_, integer);
    return *this;
}

JSONWriter& JSONWriter::value(double real) {
    if (!std::isfinite(real)) throw std::invalid_argument("JSON has no number for NaN or infinity");
    separate();
    const double magnitude = std::abs(real);
    const bool plain = real == 0 || (magnitude >= 1e-5 && magnitude < 1e16);
    append(text_, real, plain ? std::chars_format::fixed : std::chars_format::scientific);
    return *this;
}

JSONWriter& JSONWriter::null() {
    return raw("null");
}

JSONWriter& JSONWriter::raw(std::string_view json) {
    separate();
    text_ += json;
    return *this;
}

void JSONWriter::quote(std::string_view text) {
    if (!isValidUTF8(text)) throw std::invalid_argument("a text is not UTF-8");
    constexpr std::string_view digits = "0123456789abcdef";
    text_ += '"';
    std::size_t start = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (static_cast<unsigned char>(character) >= 0x20 && character != '"' && character != '\\') continue;
        text_ += text.substr(start, i - start);
        start = i + 1;
        text_ += '\\';
        switch (character) {
            case '\n':
                text_ += 'n';
                break;
            case '\r':
                text_ += 'r';
                break;
            case '\t':
                text_ += 't';
                break;
            case '\b':
                text_ += 'b';
                break;
            case '\f':
                text_ += 'f';
                break;
            case '"':
            case '\\':
                text_ += character;
                break;
            default:
                text_.append("u00").append({digits[character >> 4 & 15], digits[character & 15]});
                break;
        }
    }
    text_ += text.substr(start);
    text_ += '"';
}

}  // namespace Foundation
