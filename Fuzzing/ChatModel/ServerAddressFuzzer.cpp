#include "Support.h"

#include <algorithm>

#include "ChatModel/ServerAddress.h"

using Foundation::URL;
using Fuzzing::check;
namespace ServerAddress = ChatModel::ServerAddress;

/// What somebody types for a server's address.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(Fuzzing::textView(data, size));
    const auto url = ServerAddress::parse(text);
    if (!url) return 0;
    const std::string& address = url->absoluteString();
    check(ServerAddress::parse(address) == url, "an address that was parsed gives itself", address);
    check(ServerAddress::parse(" \n" + address + "//?q#f") == url, "slashes, query and fragment do not count", address);
    check(url->scheme() == "https" || url->scheme() == "http", "an address is of http or https", address);
    check(text.find("://") != std::string::npos || url->scheme() == "https", "it is https where nothing is said");
    check(!url->host()->empty(), "an address names a host", address);
    const std::string authority = *url->authority();
    check(authority.find('@') == std::string::npos, "an address has no user information", address);
    check(!url->port() || !url->port()->empty(), "an empty port is left out", address);
    check(address.find_first_of("?#") == std::string::npos && !address.ends_with('/'), "an address ends", address);
    check(std::none_of(authority.begin(), authority.end(),
                       [](char character) { return character >= 'A' && character <= 'Z'; }),
          "a host is in lower case", address);
    return 0;
}
