#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>

namespace Text {

/// Tells by a text's bytes where none of some characters can start, so that most of a text is passed over quickly.
/// What it works with is gathered from ICU when the first one is filled, in a few milliseconds; where ICU fails that
/// throws, as the functions of Characters.h do.
class FirstScalars {
public:
    /// Adds the first scalar of the `comparable` form, with case or without, of characters that are looked for.
    void insert(char32_t first);

    /// Adds all of another one.
    void insert(const FirstScalars& other);

    /// The scalars that join what follows them to their own character (Grapheme_Cluster_Break=Prepend).
    static const FirstScalars& prepending();

    /// Whether a character that is looked for may start with this byte, which is beyond ASCII.
    bool mayStartWith(char byte) const { return seconds_[static_cast<std::uint8_t>(byte)] != 0; }

    /// Whether one may start at the offset, at which a scalar beyond ASCII starts.
    bool mayStartAt(std::string_view text, std::size_t offset) const {
        const auto lead = static_cast<std::uint8_t>(text[offset]);
        if (offset + 2 >= text.size()) return true;
        return (seconds_[lead] >> (text[offset + 1] & 0x3F) & thirds_[lead] >> (text[offset + 2] & 0x3F) & 1) != 0;
    }

private:
    // By the first byte, which of the lower bits of the second and of the third byte may follow.
    std::array<std::uint64_t, 256> seconds_{};
    std::array<std::uint64_t, 256> thirds_{};
};

}  // namespace Text
