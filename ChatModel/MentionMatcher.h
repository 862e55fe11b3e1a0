#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "ChatModel/MentionKey.h"
#include "Text/Characters.h"
#include "Text/FirstScalars.h"

namespace ChatModel::NotificationRules {

/// Mention keys made ready to be looked for in texts, all of them in one pass that takes time in proportion to the
/// text, whatever it holds.
///
/// A key appears as a word of its own: neither a letter, a digit nor an underscore of ASCII stands in front of it, and
/// behind it, underscores aside, there is a word's boundary. A key that ends in anything else ('x+') is therefore met
/// in front of a word alone. Keys with characters of scripts that are written without spaces, or of Cyrillic, appear
/// wherever their text does. An empty key never does. Characters are compared as a person sees them: accents may be
/// composed or not, case counts where the key says so, and no character of the text is met in part.
///
/// Immutable, so that several threads may use one. Texts are UTF-8; ill-formed bytes stand for U+FFFD.
class MentionMatcher {
public:
    explicit MentionMatcher(const std::vector<MentionKey>& keys);

    /// Whether any of the keys appears in the text.
    bool matches(std::string_view text) const;

private:
    /// How the keys of one group are looked for.
    struct Way {
        Text::Case sensitivity;
        bool asWord;  ///< and not just anywhere
    };

    /// The keys of one group as a tree of their scalars (A. V. Aho and M. J. Corasick, 1975). Node 0 is the root.
    class Tree {
    public:
        /// The keys are in their comparable form, none of them empty.
        Tree(Way way, std::vector<std::u32string> keys);

        bool matches(std::string_view text) const;

    private:
        class Search;
        struct Walk;

        struct Node {
            std::uint32_t firstChild = 0;
            std::uint32_t childCount = 0;
            std::uint32_t depth = 0;   ///< in scalars
            std::uint32_t suffix = 0;  ///< the deepest other node whose scalars this one's end with
            std::uint32_t key = 0;     ///< the deepest node that ends a key, of this one and its suffixes; 0 for none
        };

        void grow(const std::vector<std::u32string>& keys);
        std::uint32_t child(std::uint32_t node, char32_t scalar) const;

        void describeBytes(const std::vector<std::u32string>& keys);
        void addSteps();
        bool goOn(Walk& walk, std::string_view text) const;

        Way way_;
        std::vector<Node> nodes_;
        std::u32string scalars_;  ///< by which each node is reached; a node's children stand together, in order
        std::array<std::uint32_t, 128> startingWith_{};  ///< the root's children by their ASCII
        std::array<std::uint8_t, 256> traits_{};         ///< of bytes, for passing over what no key starts with
        Text::FirstScalars firstScalars_;

        /// The same as a table, for plain ASCII: from the state that the text is in and the kind of its next byte to
        /// the next state, each being where its own row starts. The root comes first, then the state behind a word,
        /// where no key may start, then the nodes, and last those of them with which a key may end. Empty where the
        /// tree is too large.
        std::vector<std::uint32_t> steps_;
        std::array<std::uint8_t, 256> kinds_{};  ///< of bytes: those that no key tells apart are of one kind
        std::uint32_t kindCount_ = 0;
        std::uint32_t firstNode_ = 0;  ///< the state
        std::uint32_t firstKey_ = 0;   ///< the state
        std::vector<std::uint32_t> nodesOfRows_;
    };

    std::vector<Tree> trees_;
};

}  // namespace ChatModel::NotificationRules
