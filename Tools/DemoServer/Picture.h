#pragma once

#include <string>
#include <string_view>

namespace DemoServer {

/// A small PNG picture: a pattern and a colour that follow from the name and are always the same for it. Safe
/// to call from several threads. Throws `std::runtime_error` where libpng fails.
std::string picture(std::string_view name);

}  // namespace DemoServer
