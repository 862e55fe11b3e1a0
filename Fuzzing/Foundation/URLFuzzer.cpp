#include "Support.h"

#include <cstring>
#include <memory>
#include <string>

#include <arpa/inet.h>
#include <curl/curl.h>
#include <strings.h>

#include "Foundation/Releaser.h"
#include "Foundation/URL.h"

using Foundation::URL;
using Fuzzing::check;

namespace {

/// Where a request for an address goes to.
struct Destination {
    std::string scheme, host, port;
};

std::string part(CURLU* parsed, CURLUPart which, unsigned flags = 0) {
    char* text = nullptr;
    const CURLUcode result = curl_url_get(parsed, which, &text, flags);
    const std::unique_ptr<char, Foundation::Releaser<curl_free>> owned(text);
    return result == CURLUE_OK ? text : "";
}

/// As libcurl reads the address when it makes a request; nothing where it makes none.
std::optional<Destination> destination(const std::string& address) {
    const std::unique_ptr<CURLU, Foundation::Releaser<curl_url_cleanup>> parsed(curl_url());
    constexpr unsigned flags = CURLU_GUESS_SCHEME | CURLU_NON_SUPPORT_SCHEME | CURLU_PATH_AS_IS;
    if (curl_url_set(parsed.get(), CURLUPART_URL, address.c_str(), flags) != CURLUE_OK) return std::nullopt;
    return Destination{part(parsed.get(), CURLUPART_SCHEME), part(parsed.get(), CURLUPART_HOST),
                       part(parsed.get(), CURLUPART_PORT, CURLU_DEFAULT_PORT)};
}

std::string percentDecoded(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        decoded +=
            text[i] == '%' ? static_cast<char>(std::stoi(std::string(text.substr(i + 1, 2)), nullptr, 16)) : text[i];
        if (text[i] == '%') i += 2;
    }
    return decoded;
}

/// Whether the host of ours names what the other one does, of which numeric addresses are in their usual form.
bool isSameHost(const std::string& spelled, std::string other) {
    if (other.starts_with('[')) {
        in6_addr ours{}, theirs{};
        other = other.substr(1, other.size() - 2);
        return inet_pton(AF_INET6, spelled.c_str(), &ours) == 1 && inet_pton(AF_INET6, other.c_str(), &theirs) == 1 &&
               std::memcmp(&ours, &theirs, sizeof ours) == 0;
    }
    const std::string host = percentDecoded(spelled);
    in_addr ours{}, theirs{};
    if (inet_aton(host.c_str(), &ours) != 0 && inet_aton(other.c_str(), &theirs) != 0)
        return ours.s_addr == theirs.s_addr;
    return host.size() == other.size() && strcasecmp(host.c_str(), other.c_str()) == 0;
}

bool isSameScheme(const std::string& scheme, const char* other) {
    return strcasecmp(scheme.c_str(), other) == 0;
}

void checkParts(const URL& url, std::string_view text) {
    check(url.absoluteString() == text, "a URL keeps its spelling", text);
    check(URL::parse(url.absoluteString()) == url, "a URL's text is that URL");
    std::string made = url.scheme() ? *url.scheme() + ':' : "";
    if (url.authority()) made += "//" + *url.authority();
    made += url.path();
    check(text.starts_with(made), "a URL begins with its parts", text);
    check(made.size() == text.size() || text[made.size()] == '?' || text[made.size()] == '#', "nothing is between",
          text);
    check(url.host().has_value() == url.authority().has_value(), "a host stands in an authority");
    if (url.host()) check(url.authority()->find(*url.host()) != std::string::npos, "a host stands in its authority");
}

}  // namespace

/// A URL's host and port as we read them: they decide who is sent a token. A request goes nowhere else.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = Fuzzing::textView(data, size);
    const auto url = URL::parse(text);
    if (!url) return 0;
    checkParts(*url, text);
    if (!url->scheme() || !url->host() || url->host()->empty()) return 0;
    if (!isSameScheme(*url->scheme(), "http") && !isSameScheme(*url->scheme(), "https")) return 0;

    for (const URL& asked : {*url, url->appending("api/v4/é ?#/..")}) {
        const std::string& address = asked.absoluteString();
        check(asked.host() == url->host() && asked.port() == url->port(), "a longer path leaves the host", address);
        check(URL::parse(address)->path() == asked.path(), "a longer path is where it stands", address);
        const auto reached = destination(address);
        if (!reached) continue;
        check(isSameScheme(*url->scheme(), reached->scheme.c_str()), "the request has the scheme", address);
        check(isSameHost(*url->host(), reached->host), "the request goes to the host", address);
        const std::string port = url->port().value_or("");
        const std::string usual = isSameScheme(*url->scheme(), "https") ? "443" : "80";
        check(std::stoul(port.empty() ? usual : port) == std::stoul(reached->port), "the request goes to the port",
              address);
    }
    return 0;
}
