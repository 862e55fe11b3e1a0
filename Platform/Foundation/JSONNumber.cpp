#include "Foundation/JSONNumber.h"

#include <algorithm>
#include <charconv>
#include <clocale>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <limits>
#include <string>

namespace Foundation {

namespace {

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

std::size_t digitsFrom(std::string_view text, std::size_t start) {
    std::size_t end = start;
    while (end < text.size() && isDigit(text[end]))
        ++end;
    return end;
}

}  // namespace

bool isJSONNumber(std::string_view text) {
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

std::optional<double> nearestDouble(std::string_view text) {
    double value = 0;
    if (std::from_chars(text.data(), text.data() + text.size(), value).ec == std::errc()) return value;
    // from_chars tells an underflow from an overflow by nothing but this.
    static const locale_t classic = ::newlocale(LC_ALL_MASK, "C", nullptr);
    value = ::strtod_l(std::string(text).c_str(), nullptr, classic);
    if (std::isinf(value)) return std::nullopt;
    return value;
}

std::optional<std::int64_t> exactInteger(std::string_view text) {
    const std::size_t exponentAt = std::min(text.find_first_of("eE"), text.size());
    const std::size_t point = std::min(text.find('.'), exponentAt);
    std::string digits(text.substr(0, point));
    std::int64_t exponent = 0;
    if (exponentAt < text.size()) {
        const std::string_view written = text.substr(exponentAt + (text[exponentAt + 1] == '+' ? 2 : 1));
        // One that is too large for this is too large for any integer but 0, and the digits leave it in 64 bits.
        std::int32_t value = 0;
        if (std::from_chars(written.data(), written.data() + written.size(), value).ec != std::errc())
            value = written.front() == '-' ? std::numeric_limits<std::int32_t>::min()
                                           : std::numeric_limits<std::int32_t>::max();
        exponent = value;
    }
    if (point < exponentAt) {
        digits.append(text.substr(point + 1, exponentAt - point - 1));
        exponent -= static_cast<std::int64_t>(exponentAt - point - 1);
    }
    const std::size_t last = digits.find_last_not_of("0-");
    if (last == std::string::npos) return 0;
    exponent += static_cast<std::int64_t>(digits.size() - last - 1);
    digits.resize(last + 1);
    constexpr std::int64_t mostZeros = 18;
    if (exponent < 0 || exponent > mostZeros) return std::nullopt;
    digits.append(static_cast<std::size_t>(exponent), '0');
    std::int64_t integer = 0;
    if (std::from_chars(digits.data(), digits.data() + digits.size(), integer).ec != std::errc()) return std::nullopt;
    return integer;
}

}  // namespace Foundation
