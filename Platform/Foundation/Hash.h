#pragma once

#include <concepts>
#include <cstddef>
#include <functional>
#include <ranges>

namespace Foundation {

/// A hash over several values, in their order; a list's elements count in theirs. Maps are ordered by their keys, so
/// that equal ones hash alike; of unordered ones no order counts.
template <class... Values>
std::size_t hashOf(const Values&... values);

namespace detail {

inline constexpr std::size_t hashMultiplier = 0x9E3779B97F4A7C15U;

template <class Value>
std::size_t hashOne(const Value& value) {
    if constexpr (std::default_initializable<std::hash<Value>>) {
        return std::hash<Value>()(value);
    } else if constexpr (requires { value.has_value(); }) {
        return value ? hashOf(true, *value) : 0;
    } else if constexpr (requires { value.hash_function(); }) {
        std::size_t hash = 0;
        for (const auto& element : value)
            hash += hashOne(element);
        return hash;
    } else if constexpr (std::ranges::range<Value>) {
        std::size_t hash = 0;
        for (const auto& element : value)
            hash = (hash ^ hashOne(element)) * hashMultiplier + 1;
        return hash;
    } else {
        return hashOf(value.first, value.second);
    }
}

}  // namespace detail

template <class... Values>
std::size_t hashOf(const Values&... values) {
    std::size_t hash = 0;
    ((hash = (hash ^ detail::hashOne(values)) * detail::hashMultiplier), ...);
    return hash;
}

}  // namespace Foundation
