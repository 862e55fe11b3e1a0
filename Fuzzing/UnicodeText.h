#pragma once

#include <string>
#include <string_view>

namespace Fuzzing {

/// A text of what affects each other in Unicode: bytes of ASCII stand for themselves, each of the others for a piece
/// of the list, so that a fuzzer finds what it would hardly put together from bytes of UTF-8.
inline std::string unicodeText(std::string_view bytes) {
    static constexpr std::string_view pieces[] = {
        "\u00DF",       "\u017F",      "\u1E9E", "\u212A",     "\u0131",     "\u0130",     "\u0307",     "\u00E9",
        "e\u0301",      "\u0301",      "\u0323", "\u0600",     "\u0438",     "\u0418",     "\u0439",     "\u0419",
        "\u0306",       "\u03C3",      "\u03C2", "\u03A3",     "\u03B1",     "\u1FB3",     "\u0345",     "\u03B9",
        "\u0915",       "\u094D",      "\u0937", "\u200D",     "\u0941",     "\u093C",     "\U0001F1E9", "\U0001F1EA",
        "\U0001F469",   "\U0001F3FD",  "\uAC00", "\u1100",     "\u1161",     "\uAC01",     "\u11A8",     "\uFB01",
        "\uFB00",       "\u0149",      "\u02BC", "\u1E9A",     "\u02BE",     "\u2177",     "\u2126",     "\u03A9",
        "\u212B",       "\u00C5",      "\u00E5", "a\u030A",    "\u0903",     "\U0001F468", "\u2764",     "\uFE0F",
        "\u0085",       "\u20E3",      "\u00A9", "\U000110BD", "\u4E2D",     "\u304B",     "\u304C",     "\u3099",
        "\u0E33",       "\u3000",      "\uFFFD", "\u202E",     "\u2028",     "\u200B",     "\u0F71",     "\u0F72",
        "\U0001D15F",   "\u0344",      "\u1E69", "\u05B0",     "\u1F80",     "\uFF21",     "\u3131",     "\uD7B0",
        "\uD7CB",       "\u0D4E",      "\u13A0", "\uAB70",     "\U0001F600", "\u00AD",     "\U000E0061", "\U0001F3F4",
        "\u3164",       "\u115F",      "\uFF9E", "\xC2\x80",   "\x80",       "\xFF",       "\xC3",       "\xE4\xB8",
        "\xF0\x9F\x91", "\xED\xA0\x80"};
    std::string text;
    for (const char byte : bytes) {
        const auto value = static_cast<unsigned char>(byte);
        if (value < 0x80)
            text += byte;
        else
            text += pieces[(value - 0x80U) % std::size(pieces)];
    }
    return text;
}

}  // namespace Fuzzing
