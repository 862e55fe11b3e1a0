#include "Foundation/UTF8.h"

#include <array>
#include <charconv>
#include <cstdint>

#include <simdjson.h>

namespace Foundation {

namespace {

constexpr char32_t replacement = U'\uFFFD';

/// One step of reading: a scalar and the bytes it took; `valid` is false for an ill-formed sequence.
struct Step {
    char32_t scalar = replacement;
    std::size_t length = 1;
    bool valid = false;
};

Step next(std::string_view text) {
    const auto at = [&](std::size_t i) { return static_cast<std::uint8_t>(text[i]); };
    const std::uint8_t lead = at(0);
    if (lead < 0x80) return {lead, 1, true};
    if (lead < 0xC2 || lead > 0xF4) return {};
    const std::size_t wanted = lead < 0xE0 ? 2 : lead < 0xF0 ? 3 : 4;
    // The second byte's range excludes overlong forms, surrogates and what lies beyond U+10FFFF.
    const std::uint8_t low = lead == 0xE0 ? 0xA0 : lead == 0xF0 ? 0x90 : 0x80;
    const std::uint8_t high = lead == 0xED ? 0x9F : lead == 0xF4 ? 0x8F : 0xBF;
    char32_t scalar = lead & (0xFFU >> (wanted + 1));
    for (std::size_t i = 1; i < wanted; ++i) {
        const bool continues = i < text.size() && at(i) >= (i == 1 ? low : 0x80) && at(i) <= (i == 1 ? high : 0xBF);
        if (!continues) return {replacement, i, false};
        scalar = scalar << 6 | (at(i) & 0x3FU);
    }
    return {scalar, wanted, true};
}

bool controls(char32_t scalar) {
    return scalar < 0x20 || (scalar >= 0x7F && scalar < 0xA0) || scalar == 0x061C ||
           (scalar >= 0x200E && scalar <= 0x200F) || (scalar >= 0x2028 && scalar <= 0x202E) ||
           (scalar >= 0x2066 && scalar <= 0x2069);
}

}  // namespace

bool isValidUTF8(std::string_view text) {
    return simdjson::validate_utf8(text.data(), text.size());
}

std::size_t lengthOfFirstScalar(std::string_view text) {
    return next(text).length;
}

std::string repairedUTF8(std::string_view bytes) {
    if (isValidUTF8(bytes)) return std::string(bytes);
    std::string text;
    while (!bytes.empty()) {
        const Step step = next(bytes);
        text += step.valid ? bytes.substr(0, step.length) : std::string_view("\uFFFD");
        bytes.remove_prefix(step.length);
    }
    return text;
}

std::string printable(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const Step step = next(text);
        if (!step.valid) {
            result += "\uFFFD";
        } else if (controls(step.scalar)) {
            std::array<char, 8> digits{};
            const auto end =
                std::to_chars(digits.begin(), digits.end(), static_cast<std::uint32_t>(step.scalar), 16).ptr;
            result.append("\\u{").append(digits.data(), end).append("}");
        } else {
            result += text.substr(0, step.length);
        }
        text.remove_prefix(step.length);
    }
    return result;
}

}  // namespace Foundation
