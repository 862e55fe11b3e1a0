#include "Foundation/Base64.h"

#include <algorithm>
#include <array>

namespace Foundation {

namespace {

constexpr std::string_view alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t outside = 0xFF;

constexpr auto values = [] {
    std::array<std::uint8_t, 256> table{};
    table.fill(outside);
    for (std::size_t i = 0; i < alphabet.size(); ++i)
        table[static_cast<std::uint8_t>(alphabet[i])] = static_cast<std::uint8_t>(i);
    return table;
}();

}  // namespace

std::optional<Data> base64Decoded(std::string_view text) {
    if (text.size() % 4 != 0) return std::nullopt;
    const std::size_t padding = text.ends_with("==") ? 2 : text.ends_with("=") ? 1 : 0;
    text.remove_suffix(padding);

    Data data;
    data.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t group = 0;
    unsigned bits = 0;
    for (const char character : text) {
        const std::uint8_t value = values[static_cast<std::uint8_t>(character)];
        if (value == outside) return std::nullopt;
        group = group << 6 | value;
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            data.push_back(static_cast<std::uint8_t>(group >> bits));
        }
    }
    return data;
}

std::string base64Encoded(const Data& data) {
    std::string text;
    text.reserve((data.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < data.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, data.size() - i);
        std::uint32_t group = 0;
        for (std::size_t k = 0; k < 3; ++k)
            group = group << 8 | (k < count ? data[i + k] : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= count ? alphabet[group >> (18 - 6 * k) & 63] : '=';
    }
    return text;
}

}  // namespace Foundation
