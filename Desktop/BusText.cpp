#include "Desktop/BusText.h"

#include <cstddef>

#include "Foundation/UTF8.h"

namespace Desktop {

namespace {

/// Whether the well-formed text begins with a noncharacter: U+FDD0 to U+FDEF, and the last two of each plane.
bool beginsWithNoncharacter(std::string_view text) {
    const auto at = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    if (text.size() >= 3 && at(0) == 0xEF)
        return (at(1) == 0xB7 && at(2) >= 0x90 && at(2) <= 0xAF) || (at(1) == 0xBF && at(2) >= 0xBE);
    return text.size() >= 4 && at(0) >= 0xF0 && (at(1) & 0x0F) == 0x0F && at(2) == 0xBF && at(3) >= 0xBE;
}

}  // namespace

std::string busText(std::string_view text) {
    const std::string wellFormed = Foundation::repairedUTF8(text);
    std::string result;
    for (std::string_view rest = wellFormed; !rest.empty();) {
        const std::size_t length = Foundation::lengthOfFirstScalar(rest);
        const bool isRefused = rest.front() == '\0' || beginsWithNoncharacter(rest);
        result += isRefused ? std::string_view("\uFFFD") : rest.substr(0, length);
        rest.remove_prefix(length);
    }
    return result;
}

}  // namespace Desktop
