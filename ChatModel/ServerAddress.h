#pragma once

#include <optional>
#include <string_view>

#include "Foundation/URL.h"

namespace ChatModel::ServerAddress {

/// The server that somebody means by what they typed (UTF-8): "Chat.Example/team/ " is https://chat.example/team.
/// White space around it does not count, nor do query, fragment and slashes at the end; scheme and host become lower
/// case (ASCII); path and port stay as they are spelled, an empty port's colon left out. Without "://" it is https.
/// Nothing for what is no URL (RFC 3986, of ASCII alone), has another scheme than http and https, names no host, or
/// has user information, be it empty: credentials do not belong there. The result's own text gives the same again.
std::optional<Foundation::URL> parse(std::string_view text);

}  // namespace ChatModel::ServerAddress
