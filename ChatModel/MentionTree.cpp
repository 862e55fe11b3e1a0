#include "ChatModel/MentionTree.h"

#include <algorithm>
#include <new>
#include <tuple>
#include <utility>

#include "ChatModel/Words.h"

namespace ChatModel::NotificationRules {

namespace {

/// What kinds of bytes there are beside those that the keys are made of.
enum Kind : std::uint8_t { other, noWord, inWord, firstOfKeys };

/// A larger table would take more memory than it is worth.
constexpr std::size_t mostSteps = 1U << 20;

/// The case in which the keys' comparable forms are.
constexpr std::size_t lowered(std::size_t byte, Text::Case sensitivity) {
    return sensitivity == Text::Case::insensitive ? Text::loweredASCII(static_cast<char32_t>(byte)) : byte;
}

/// What is known of bytes whatever the keys are.
template <bool asWord>
constexpr std::array<std::uint8_t, 256> traitsOfText = [] {
    std::array<std::uint8_t, 256> traits{};
    for (std::size_t byte = 0; byte < traits.size(); ++byte) {
        const bool isWord = isWordByte(static_cast<char>(byte));
        traits[byte] =
            static_cast<std::uint8_t>((isWord ? MentionTree::word : 0) |
                                      (isWord && asWord ? MentionTree::noneBehind : MentionTree::startsBehind));
    }
    return traits;
}();

}  // namespace

MentionTree::MentionTree(Way way, std::vector<Key> keys, bool hasTable) : way_(way) {
    // Of the same forms one that is not doubtful comes first, and stays.
    const auto place = [](const Key& key) { return std::tie(key.form, key.isDoubtful); };
    std::sort(keys.begin(), keys.end(), [&](const Key& one, const Key& other) { return place(one) < place(other); });
    const auto isSame = [](const Key& one, const Key& other) { return one.form == other.form; };
    keys.erase(std::unique(keys.begin(), keys.end(), isSame), keys.end());
    grow(keys);
    describeBytes();
    if (!hasTable) return;
    nameKinds();
    if ((nodes_.size() + 1) * kindCount_ <= mostSteps) addSteps();
}

void MentionTree::grow(const std::vector<Key>& keys) {
    struct Range {
        std::size_t first;
        std::size_t end;
    };
    std::size_t most = 1;
    for (const Key& key : keys)
        most += key.form.size();
    std::vector<Range> ranges;  // the keys that start as a node does
    nodes_.reserve(most);
    scalars_.reserve(most);
    ranges.reserve(most);
    nodes_.emplace_back();
    scalars_ += U'\0';
    ranges.push_back({0, keys.size()});
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        const std::uint32_t depth = nodes_[node].depth;
        auto [first, end] = ranges[node];
        if (first < end && keys[first].form.size() == depth) ++first;  // it ends here
        nodes_[node].firstChild = static_cast<std::uint32_t>(nodes_.size());
        for (std::size_t next = first; first < end; first = next) {
            const char32_t scalar = keys[first].form[depth];
            while (next < end && keys[next].form[depth] == scalar)
                ++next;
            const auto made = static_cast<std::uint32_t>(nodes_.size());
            Node child{.depth = depth + 1};
            // A node's suffixes are higher up, where all children stand already.
            for (std::uint32_t suffix = node; suffix != 0 && child.suffix == 0;) {
                suffix = nodes_[suffix].suffix;
                child.suffix = this->child(suffix, scalar);
            }
            const bool isKey = keys[first].form.size() == child.depth;
            child.key = isKey ? made : nodes_[child.suffix].key;
            child.isDoubtful = isKey && keys[first].isDoubtful;
            if (node == 0 && scalar < startingWith_.size()) startingWith_[scalar] = made;
            nodes_.push_back(child);
            scalars_ += scalar;
            ranges.push_back({first, next});
            ++nodes_[node].childCount;
        }
    }
}

std::uint32_t MentionTree::child(std::uint32_t node, char32_t scalar) const {
    if (node == 0 && scalar < startingWith_.size()) return startingWith_[scalar];
    const std::uint32_t firstChild = nodes_[node].firstChild;
    if (nodes_[node].childCount == 1) return scalars_[firstChild] == scalar ? firstChild : 0;
    const auto first = scalars_.begin() + firstChild;
    const auto end = first + nodes_[node].childCount;
    const auto found = std::lower_bound(first, end, scalar);
    return found != end && *found == scalar ? static_cast<std::uint32_t>(found - scalars_.begin()) : 0;
}

void MentionTree::describeBytes() {
    traits_ = way_.asWord ? traitsOfText<true> : traitsOfText<false>;
    for (std::uint32_t child = 1; child <= nodes_.front().childCount; ++child) {
        const char32_t scalar = scalars_[child];
        firstScalars_.insert(scalar);
        if (scalar >= startingWith_.size()) continue;
        traits_[scalar] |= start;
        const bool hasCapital = way_.sensitivity == Text::Case::insensitive && scalar >= 'a' && scalar <= 'z';
        if (hasCapital) traits_[scalar - ('a' - 'A')] |= start;
    }
    const Text::FirstScalars& prepended = Text::FirstScalars::prepending();
    if (way_.asWord) firstScalars_.insert(prepended);
    for (std::size_t byte = startingWith_.size(); byte < traits_.size(); ++byte) {
        if (firstScalars_.mayStartWith(static_cast<char>(byte))) traits_[byte] |= lead;
        if (way_.asWord && prepended.mayStartWith(static_cast<char>(byte))) traits_[byte] |= prepending;
    }
}

void MentionTree::nameKinds() {
    // A carriage return may be half of a character.
    for (std::size_t byte = 0; byte < startingWith_.size(); ++byte)
        kinds_[byte] = byte == '\r' ? other : (traits_[byte] & word) != 0 ? inWord : noWord;
    kindCount_ = firstOfKeys;
    for (std::size_t node = 1; node < nodes_.size(); ++node) {
        const char32_t scalar = scalars_[node];
        const bool isNamed = scalar >= startingWith_.size() || kinds_[scalar] == other || kinds_[scalar] >= firstOfKeys;
        if (!isNamed) kinds_[scalar] = static_cast<std::uint8_t>(kindCount_++);
    }
    for (std::size_t byte = 'A'; byte <= 'Z'; ++byte)
        kinds_[byte] = kinds_[lowered(byte, way_.sensitivity)];
}

/// The nodes' states.
std::vector<std::uint32_t> MentionTree::placeStates() {
    std::vector<std::uint32_t> states(nodes_.size());
    nodesOfRows_.assign(2, 0);
    firstNode_ = 2 * kindCount_;
    for (const bool isKey : {false, true}) {
        if (isKey) firstKey_ = static_cast<std::uint32_t>(nodesOfRows_.size()) * kindCount_;
        for (std::uint32_t node = 1; node < nodes_.size(); ++node) {
            if ((nodes_[node].key != 0) != isKey) continue;
            states[node] = static_cast<std::uint32_t>(nodesOfRows_.size()) * kindCount_;
            nodesOfRows_.push_back(node);
        }
    }
    return states;
}

void MentionTree::addSteps() {
    const std::vector<std::uint32_t> states = placeStates();
    const std::uint32_t behindWord = kindCount_;
    steps_.resize(nodesOfRows_.size() * kindCount_);
    for (const std::uint32_t state : {0U, behindWord}) {
        steps_[state + other] = notPlain;
        for (std::size_t byte = 0; byte < startingWith_.size(); ++byte)
            if (way_.asWord && (traits_[byte] & word) != 0) steps_[state + kinds_[byte]] = behindWord;
    }
    // A node's steps are those of the state that the text would be in if nothing had started where the node has, but
    // for its own children.
    std::vector<std::uint32_t> otherwise(nodes_.size());
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        const auto steps = steps_.begin() + states[node];
        if (node != 0) std::copy_n(steps_.begin() + otherwise[node], kindCount_, steps);
        const std::uint32_t firstChild = nodes_[node].firstChild;
        for (std::uint32_t child = firstChild; child < firstChild + nodes_[node].childCount; ++child) {
            // Nodes behind what is not plain are not reached this way.
            const char32_t scalar = scalars_[child];
            if (scalar < startingWith_.size() && kinds_[scalar] != other)
                otherwise[child] = std::exchange(steps[kinds_[scalar]], states[child]);
        }
    }
}

}  // namespace ChatModel::NotificationRules
