#include "Foundation/URL.h"

#include <algorithm>
#include <new>

#include <uriparser/Uri.h>

namespace Foundation {

namespace {

/// A parsed reference; its ranges point into the text it was made from.
class Parsed {
public:
    explicit Parsed(std::string_view text) {
        const char* error = nullptr;
        const int result = uriParseSingleUriExA(&uri_, text.data(), text.data() + text.size(), &error);
        if (result == URI_ERROR_MALLOC) throw std::bad_alloc();
        valid_ = result == URI_SUCCESS;
    }
    ~Parsed() {
        if (valid_) uriFreeUriMembersA(&uri_);
    }
    Parsed(const Parsed&) = delete;
    Parsed& operator=(const Parsed&) = delete;

    bool valid() const { return valid_; }
    const UriUriA& uri() const { return uri_; }

private:
    UriUriA uri_{};
    bool valid_ = false;
};

/// pchar of RFC 3986, section 3.3, without the percent sign, and the slash between segments.
bool standsInPath(char character) {
    const bool alphanumeric = (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z') ||
                              (character >= '0' && character <= '9');
    return alphanumeric || std::string_view("-._~!$&'()*+,;=:@/").find(character) != std::string_view::npos;
}

std::string percentEncoded(std::string_view path) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    encoded.reserve(path.size());
    for (const char character : path) {
        if (standsInPath(character)) {
            encoded += character;
        } else {
            const auto byte = static_cast<unsigned char>(character);
            encoded += {'%', digits[byte >> 4], digits[byte & 15]};
        }
    }
    return encoded;
}

}  // namespace

std::optional<URL> URL::parse(std::string_view text) {
    if (text.empty()) return std::nullopt;
    const Parsed parsed(text);
    if (!parsed.valid()) return std::nullopt;
    const auto range = [&](const UriTextRangeA& part) {
        if (part.first == nullptr) return Range{};
        // One that is empty need not point into the text.
        const std::ptrdiff_t length = part.afterLast - part.first;
        return Range{static_cast<std::size_t>(length == 0 ? 0 : part.first - text.data()),
                     static_cast<std::size_t>(length)};
    };
    URL url;
    url.text_ = text;
    url.scheme_ = range(parsed.uri().scheme);
    url.host_ = range(parsed.uri().hostText);
    url.port_ = range(parsed.uri().portText);
    // These two end before the first of a few characters, which they cannot hold (RFC 3986, sections 3.2 and 3.3).
    const auto rangeBefore = [&](std::string_view ends, std::size_t start) {
        return Range{start, std::min(text.find_first_of(ends, start), text.size()) - start};
    };
    std::size_t start = url.scheme_.start == std::string::npos ? 0 : url.scheme_.length + 1;
    if (url.host_.start != std::string::npos) {
        url.authority_ = rangeBefore("/?#", start + 2);
        start = url.authority_.start + url.authority_.length;
    }
    url.path_ = rangeBefore("?#", start);
    return url;
}

std::optional<std::string> URL::spelled(Range range) const {
    if (range.start == std::string::npos) return std::nullopt;
    return text_.substr(range.start, range.length);
}

URL URL::appending(std::string_view path) const {
    const std::size_t end = path_.start + path_.length;
    std::string extended = text_.substr(0, end);
    // A path behind an authority is absolute, even behind an empty one; elsewhere no slash may appear in front of a
    // path that was empty.
    if (path_.length > 0 ? !extended.ends_with('/') : host_.start != std::string::npos) extended += '/';
    if (path.starts_with('/')) path.remove_prefix(1);
    extended += percentEncoded(path);
    URL url = *this;  // what stands in front of the path stays in its place
    url.path_.length = extended.size() - path_.start;
    url.text_ = extended + text_.substr(end);
    return url;
}

}  // namespace Foundation
