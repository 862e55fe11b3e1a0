#pragma once

#include <optional>
#include <string_view>

#include <nlohmann/json.hpp>

namespace Fuzzing {

/// The JSON text as another library reads it; discarded where it is none. Nothing where that library does not say: for
/// numbers beyond a double's range.
inline std::optional<nlohmann::json> otherJSON(std::string_view text) try {
    // That one passes over a byte order mark, and takes a zero byte for the text's end.
    if (text.starts_with("\xEF\xBB\xBF") || text.find('\0') != std::string_view::npos)
        return nlohmann::json(nlohmann::json::value_t::discarded);
    return nlohmann::json::parse(text);
} catch (const nlohmann::json::parse_error&) {
    return nlohmann::json(nlohmann::json::value_t::discarded);
} catch (const nlohmann::json::out_of_range&) {
    return std::nullopt;
}

}  // namespace Fuzzing
