#pragma once

#include <compare>
#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

namespace Foundation {

/// A URI reference (RFC 3986, section 4.1) in the spelling it was given. Two URLs are equal when their spellings are:
/// nothing is normalised, so a trailing slash or a capital letter makes another URL.
class URL {
public:
    /// The empty reference, which no text parses to: a place to put a URL in.
    URL() = default;

    /// The text as a URL; nothing for the empty text and for whatever is no URI reference (blanks, characters outside
    /// ASCII, bad percent escapes).
    static std::optional<URL> parse(std::string_view text);

    const std::string& absoluteString() const { return text_; }

    /// The scheme as spelled, without its colon; absent in a relative reference.
    std::optional<std::string> scheme() const { return spelled(scheme_); }

    /// User information with its "@", host and port as spelled, with the brackets of an IP literal. Absent where there
    /// is none. It holds an "@" where there is user information, be that empty, and nowhere else.
    std::optional<std::string> authority() const { return spelled(authority_); }

    /// The host as spelled, without the brackets of an IP literal. Absent where there is no authority; empty where
    /// the authority names none ("https://").
    std::optional<std::string> host() const { return spelled(host_); }

    /// The port's digits as spelled; absent where none is given.
    std::optional<std::string> port() const { return spelled(port_); }

    /// The path as spelled; empty where there is none.
    std::string path() const { return text_.substr(path_.start, path_.length); }

    /// This URL with a relative path put behind its path, one slash between the two. Bytes that a path cannot hold
    /// are percent-encoded; "/" and "." stay. Query and fragment are kept.
    URL appending(std::string_view path) const;

    friend bool operator==(const URL& left, const URL& right) { return left.text_ == right.text_; }
    friend auto operator<=>(const URL& left, const URL& right) { return left.text_ <=> right.text_; }

private:
    /// Where a part stands in the text: it is parsed once, and asked for its parts often.
    struct Range {
        std::size_t start = std::string::npos;  ///< of an absent part
        std::size_t length = 0;
    };

    std::optional<std::string> spelled(Range range) const;

    std::string text_;
    Range scheme_;
    Range authority_;
    Range host_;
    Range port_;
    Range path_{.start = 0};  // never absent
};

}  // namespace Foundation

template <>
struct std::hash<Foundation::URL> {
    std::size_t operator()(const Foundation::URL& url) const noexcept {
        return std::hash<std::string>()(url.absoluteString());
    }
};
