#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

namespace Foundation {

/// Bytes without a meaning of their own.
using Data = std::vector<std::uint8_t>;

/// The bytes seen as text; valid as long as `data` is neither changed nor destroyed. Nothing is checked.
inline std::string_view textView(const Data& data) {
    return {reinterpret_cast<const char*>(data.data()), data.size()};
}

/// A copy of the text's bytes.
inline Data bytes(std::string_view text) {
    return {text.begin(), text.end()};
}

}  // namespace Foundation
