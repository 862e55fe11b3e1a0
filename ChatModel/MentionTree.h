#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <new>
#include <string>
#include <string_view>
#include <vector>

#include "Text/Characters.h"
#include "Text/FirstScalars.h"

namespace ChatModel::NotificationRules {

/// What mention keys are looked for with: a tree of their scalars (A. V. Aho and M. J. Corasick, 1975), which tells
/// with each scalar of a text what keys it may be part of. Immutable. It is not for other libraries.
class MentionTree {
public:
    /// How the keys are looked for.
    struct Way {
        Text::Case sensitivity;
        bool asWord;  ///< and not just anywhere
    };

    /// What is known of a byte, to pass over what no key starts with.
    enum Trait : std::uint8_t {
        word = 1,        ///< is a word character
        start = 2,       ///< of ASCII, and a key may start with it
        lead = 4,        ///< beyond ASCII, and a character may start with it with which a key may start
        prepending = 8,  ///< beyond ASCII, and a scalar may start with it that joins what follows

        // What is to be looked at in front of a key, and the same, shifted by `behind`, as what is behind a byte.
        starts = start | lead | prepending,
        behind = 4,
        startsBehind = starts << behind,
        noneBehind = prepending << behind
    };

    /// A key as it is looked for.
    struct Key {
        std::u32string form;  ///< comparable, by the way's case, and not empty
        bool isDoubtful;      ///< whether an appearance of the form is not yet one of the key
    };

    /// A node, by its number; the root is 0.
    struct Node {
        std::uint32_t firstChild = 0;
        std::uint32_t childCount = 0;
        std::uint32_t depth = 0;   ///< in scalars
        std::uint32_t suffix = 0;  ///< the deepest other node whose scalars this one's end with
        std::uint32_t key = 0;     ///< the deepest node that ends a key, of this one and its suffixes; 0 for none
        bool isDoubtful = false;   ///< whether what ends here is a doubtful key
    };

    /// Where a search in plain ASCII is. Its states are the nodes, and one behind a word, where no key may start.
    struct Walk {
        std::size_t offset;
        std::uint32_t before = 0;  ///< the state before the last byte
        std::uint32_t state = 0;
        std::uint32_t next = 0;  ///< the state behind the byte at the offset
        unsigned idle = 0;       ///< for how many bytes no key has started

        void take() {
            before = state;
            state = next;
            idle = 0;
            ++offset;
        }
    };

    /// `Walk::next` at what is no character of plain ASCII.
    static constexpr std::uint32_t notPlain = 0xFFFFFFFF;

    /// Without a table it is made sooner, and slower.
    MentionTree(Way way, std::vector<Key> keys, bool hasTable);

    Way way() const { return way_; }
    const Node& node(std::uint32_t number) const { return nodes_[number]; }
    std::uint32_t depth() const { return nodes_.back().depth; }

    /// The node behind this one, by the scalar; 0 where there is none.
    std::uint32_t child(std::uint32_t node, char32_t scalar) const;

    std::uint8_t traits(char byte) const { return traits_[static_cast<std::uint8_t>(byte)]; }
    const Text::FirstScalars& firstScalars() const { return firstScalars_; }

    /// Whether there is the table, for plain ASCII, in which each byte is one look-up. A tree too large does without.
    bool hasSteps() const { return !steps_.empty(); }

    /// Goes over the text to where `next` is `notPlain` or a state in which a key may end; false where the text ends or
    /// no key has started for a while.
    bool goOn(Walk& walk, std::string_view text) const;

    /// The node of a state; 0 where no key has started.
    std::uint32_t nodeOf(std::uint32_t state) const { return nodesOfRows_[state / kindCount_]; }

private:
    void grow(const std::vector<Key>& keys);
    void describeBytes();
    void nameKinds();
    std::vector<std::uint32_t> placeStates();
    void addSteps();

    Way way_;
    std::vector<Node> nodes_;
    std::u32string scalars_;  ///< by which each node is reached; a node's children stand together, in order
    std::array<std::uint32_t, 128> startingWith_{};  ///< the root's children by their ASCII
    std::array<std::uint8_t, 256> traits_{};
    Text::FirstScalars firstScalars_;

    /// From a state and the kind of the next byte to the next state, each state being where its own row starts. The
    /// root comes first, then the state behind a word, then the nodes, and last those of them with which a key may end.
    std::vector<std::uint32_t> steps_;
    std::array<std::uint8_t, 256> kinds_{};  ///< of bytes: those that no key tells apart are of one kind
    std::uint32_t kindCount_ = 0;
    std::uint32_t firstNode_ = 0;  ///< the state
    std::uint32_t firstKey_ = 0;   ///< the state
    std::vector<std::uint32_t> nodesOfRows_;
};

// It stands here to become part of the loop that calls it, which is entered at every other word.
inline bool MentionTree::goOn(Walk& walk, std::string_view text) const {
    const std::uint32_t* const steps = steps_.data();
    const std::uint8_t* const kinds = kinds_.data();
    const std::uint32_t firstNode = firstNode_;
    const std::uint32_t firstKey = firstKey_;
    // The more characters keys start with, the sooner one would start again.
    const std::uint32_t patience = 2 * nodes_.front().childCount;
    auto [offset, before, state, next, idle] = walk;
    bool isHeld = false;
    for (; offset < text.size() && idle < patience; ++offset) {
        // Kept apart from the state by the laundering, or else the compiler adds the two first: the next look-up waits
        // for the state, and then for the addition too.
        const std::uint32_t* const column = std::launder(steps + kinds[static_cast<std::uint8_t>(text[offset])]);
        next = column[state];
        if (next >= firstKey) {
            isHeld = true;
            break;
        }
        // Without a branch, whose way nobody could foretell.
        idle = (idle + 1) * static_cast<unsigned>(next < firstNode);
        before = state;
        state = next;
    }
    walk = {offset, before, state, next, idle};
    return isHeld;
}

}  // namespace ChatModel::NotificationRules
