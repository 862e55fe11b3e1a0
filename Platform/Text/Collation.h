#pragma once

#include <compare>
#include <cstdint>
#include <exception>
#include <memory>
#include <string>
#include <string_view>

namespace Text {

/// A text that is no language tag (BCP 47), or the tag of a language that is not known.
class UnknownLocale final : public std::exception {
public:
    explicit UnknownLocale(std::string_view tag);

    const std::string& tag() const { return tag_; }
    const char* what() const noexcept override { return message_.c_str(); }

private:
    std::string tag_;
    std::string message_;
};

/// The order in which a locale's readers expect titles (UTS #10, with CLDR's rules for the locale): accents count, case
/// does not, and a run of digits counts as its number, so that "c2" stands before "c10". Different texts may tie, as
/// "c2", "C2" and "c02" do. Texts are UTF-8; ill-formed bytes count as U+FFFD. May be used from several threads.
class Collation {
public:
    /// The order of the locale with this tag ("sv", "de-AT", "de-u-co-phonebk"). Its language must be one that ICU
    /// knows: "und" is none, and "en_US" no tag. Throws `UnknownLocale`.
    explicit Collation(std::string_view locale);

    /// Bytes that compare as the texts do, with those of the same collation; equal for texts that tie.
    std::string sortKey(std::string_view text) const;

    /// The first twelve bytes of a sort key, as numbers that compare as they do; behind a shorter key there is 0. Where
    /// those of two texts differ, they compare as the texts do; where they are equal, the sort keys tell. It takes less
    /// time than the key, the less the longer the text is.
    struct SortKeyPrefix {
        std::uint64_t first = 0;
        std::uint32_t second = 0;

        friend auto operator<=>(const SortKeyPrefix&, const SortKeyPrefix&) = default;
    };
    SortKeyPrefix sortKeyPrefix(std::string_view text) const;

private:
    struct Rules;
    std::shared_ptr<const Rules> rules_;
};

}  // namespace Text
