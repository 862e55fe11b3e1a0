#include "Foundation/Environment.h"

#include <cstdlib>

namespace Foundation {

std::optional<std::string_view> environmentVariable(const char* name) {
    const char* value = std::getenv(name);
    if (value == nullptr || *value == '\0') return std::nullopt;
    return value;
}

}  // namespace Foundation
