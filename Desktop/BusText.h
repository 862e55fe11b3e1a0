#pragma once

#include <string>
#include <string_view>

namespace Desktop {

/// The text as the bus takes it: well-formed UTF-8 without NUL and without Unicode's noncharacters (U+FFFE and the like),
/// each of which U+FFFD stands for. The bus' library refuses a whole message for one of them.
std::string busText(std::string_view text);

}  // namespace Desktop
