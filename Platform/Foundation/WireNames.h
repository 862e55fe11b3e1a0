#pragma once

#include <cstddef>
#include <optional>
#include <string_view>
#include <type_traits>

namespace Foundation {

/// What an enumeration's values are called on the wire, in the order of the enumerators. Specialised beside it:
///
///     template <>
///     inline constexpr std::array<std::string_view, 2> Foundation::wireNames<Kind> = {"button", "select"};
template <class Enumeration>
inline constexpr auto wireNames = nullptr;

template <class Enumeration>
concept HasWireNames = !std::is_null_pointer_v<std::remove_cv_t<decltype(wireNames<Enumeration>)>>;

template <HasWireNames Enumeration>
constexpr std::string_view wireName(Enumeration value) {
    return wireNames<Enumeration>[static_cast<std::size_t>(value)];
}

/// The value of this name, an exact match of the whole text; nothing for any other.
template <HasWireNames Enumeration>
constexpr std::optional<Enumeration> fromWireName(std::string_view name) {
    for (std::size_t i = 0; i < wireNames<Enumeration>.size(); ++i)
        if (wireNames<Enumeration>[i] == name) return static_cast<Enumeration>(i);
    return std::nullopt;
}

}  // namespace Foundation
