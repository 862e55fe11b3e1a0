#include "ChatModel/ServerAddress.h"

#include <algorithm>
#include <string>

#include "Text/Characters.h"
#include "Text/WhiteSpace.h"

using Foundation::URL;

namespace ChatModel {

namespace {

/// Byte by byte, in ASCII, whatever the locale.
std::string lowerCased(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](char character) {
        return static_cast<char>(Text::loweredASCII(static_cast<char32_t>(character)));
    });
    return text;
}

}  // namespace

std::optional<URL> ServerAddress::parse(std::string_view text) {
    constexpr const char* separator = "://";
    std::string address(Text::trimmed(text));
    if (address.find(separator) == std::string::npos) address.insert(0, "https://");
    const auto url = URL::parse(address);
    if (!url) return std::nullopt;
    const std::string scheme = lowerCased(url->scheme().value_or(""));
    if ((scheme != "http" && scheme != "https") || url->host().value_or("").empty()) return std::nullopt;

    std::string authority = lowerCased(*url->authority());
    if (authority.find('@') != std::string::npos) return std::nullopt;
    if (authority.ends_with(':')) authority.pop_back();
    std::string path = url->path();
    path.erase(path.find_last_not_of('/') + 1);
    return URL::parse(scheme + separator + authority + path);
}

}  // namespace ChatModel
