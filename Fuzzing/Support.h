#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string_view>

#include <fuzzer/FuzzedDataProvider.h>

/// What libFuzzer calls with each input. It asserts what must hold of any, and throws nothing.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace Fuzzing {

inline std::string_view textView(const std::uint8_t* data, std::size_t size) {
    return {reinterpret_cast<const char*>(data), size};
}

/// Ends the process, which a driver takes for a finding, unless the property holds.
inline void check(bool holds, const char* property, std::string_view detail = {}) {
    if (holds) return;
    std::fprintf(stderr, "does not hold: %s\n", property);
    if (!detail.empty()) std::fprintf(stderr, "%.*s\n", static_cast<int>(detail.size()), detail.data());
    std::abort();
}

/// What the call returns; nothing where it throws an `Expected`. Anything else that it throws is a finding.
template <class Expected, class Call>
auto unless(Call&& call) -> std::optional<decltype(call())> {
    try {
        return call();
    } catch (const Expected&) {
        return std::nullopt;
    }
}

/// A depth that no value of the JSON text exceeds.
inline std::ptrdiff_t depthLimit(std::string_view json) {
    return std::count(json.begin(), json.end(), '[') + std::count(json.begin(), json.end(), '{');
}

}  // namespace Fuzzing
