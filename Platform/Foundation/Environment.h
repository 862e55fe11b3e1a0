#pragma once

#include <optional>
#include <string_view>

namespace Foundation {

/// The variable's value; absent where it is unset or empty.
std::optional<std::string_view> environmentVariable(const char* name);

}  // namespace Foundation
