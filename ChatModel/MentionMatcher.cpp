#include "ChatModel/MentionMatcher.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

#include "ChatModel/Words.h"

namespace ChatModel::NotificationRules {

namespace {

/// The scripts whose keys need be no words: those written without spaces, and Cyrillic.
constexpr std::pair<char32_t, char32_t> wordlessBlocks[] = {
    {0x0400, 0x04FF}, {0x0500, 0x052F}, {0x0E00, 0x0E7F}, {0x1100, 0x11FF}, {0x2DE0, 0x2DFF}, {0x3000, 0x303F},
    {0x3040, 0x30FF}, {0x3130, 0x318F}, {0x3400, 0x4DBF}, {0x4E00, 0x9FAF}, {0xAC00, 0xD7A3}, {0xFF00, 0xFF9F}};

/// No character of a key is longer, in bytes: accents beyond counting take long to put in order.
constexpr std::size_t longestCharacter = 1024;

bool isWordless(std::string_view key) {
    const std::u32string scalars = Text::comparable(key, Text::Case::sensitive);
    return std::any_of(scalars.begin(), scalars.end(), [](char32_t scalar) {
        return std::any_of(std::begin(wordlessBlocks), std::end(wordlessBlocks),
                           [&](const auto& block) { return block.first <= scalar && scalar <= block.second; });
    });
}

/// The key's comparable form; empty where no text can hold the key.
std::u32string comparableKey(std::string_view key, Text::Case sensitivity) {
    std::u32string form;
    for (std::size_t offset = 0; offset < key.size();) {
        const Text::Character character = Text::characterAt(key, offset, sensitivity);
        const auto bytes = key.substr(offset, character.end - offset);
        if (bytes.size() > longestCharacter) return {};
        if (character.isWhole)
            form += character.first;
        else
            form += Text::comparable(bytes, sensitivity);
        offset = character.end;
    }
    return form;
}

/// What `traits_` says of a byte.
enum Trait : std::uint8_t {
    word = 1,   ///< is a word character
    start = 2,  ///< a key may start with it
    lead = 4,   ///< beyond ASCII, and a character may start with it that is to be looked at
    starts = start | lead,
    startsBehind = starts << 4,  ///< which of these are to be looked at behind it
    leadBehind = lead << 4
};

/// The step at what is no character of plain ASCII.
constexpr std::uint32_t notPlain = 0xFFFFFFFF;

/// What kinds of bytes there are beside those that the keys are made of.
enum Kind : std::uint8_t { other, noWord, inWord, firstOfKeys };

/// How long a text has to be without a sign of a key until it is passed over by traits, which is quicker.
constexpr unsigned patience = 8;

/// Larger trees do without a table, which would take more memory than it is worth.
constexpr std::size_t mostStates = 1U << 15;

/// The case in which the keys' comparable forms are.
constexpr std::size_t lowered(std::size_t byte, Text::Case sensitivity) {
    return sensitivity == Text::Case::insensitive && byte >= 'A' && byte <= 'Z' ? byte + ('a' - 'A') : byte;
}

}  // namespace

MentionMatcher::Tree::Tree(Way way, std::vector<std::u32string> keys) : way_(way) {
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    grow(keys);
    describeBytes(keys);
    if (nodes_.size() < mostStates) addSteps();
}

void MentionMatcher::Tree::describeBytes(const std::vector<std::u32string>& keys) {
    for (std::size_t i = 0; i < keys.size(); ++i)
        if (i == 0 || keys[i].front() != keys[i - 1].front()) firstScalars_.insert(keys[i].front());
    if (way_.asWord) firstScalars_.insertPrepending();
    for (std::size_t byte = 0; byte < startingWith_.size(); ++byte) {
        const bool isStart = startingWith_[lowered(byte, way_.sensitivity)] != 0;
        const bool isWord = isWordByte(static_cast<char>(byte));
        traits_[byte] = static_cast<std::uint8_t>((isWord ? word : 0) | (isStart ? start : 0) |
                                                  (isWord && way_.asWord ? leadBehind : startsBehind));
    }
    for (std::size_t byte = startingWith_.size(); byte < traits_.size(); ++byte)
        traits_[byte] = startsBehind | (firstScalars_.mayStartWith(static_cast<char>(byte)) ? lead : 0);
}

void MentionMatcher::Tree::addSteps() {
    // A carriage return may be half of a character.
    for (std::size_t byte = 0; byte < startingWith_.size(); ++byte)
        kinds_[byte] = byte == '\r' ? other : (traits_[byte] & word) != 0 ? inWord : noWord;
    kindCount_ = firstOfKeys;
    for (const char32_t scalar : scalars_)
        if (scalar < startingWith_.size() && (kinds_[scalar] == noWord || kinds_[scalar] == inWord) && scalar != 0)
            kinds_[scalar] = static_cast<std::uint8_t>(kindCount_++);
    for (std::size_t byte = 'A'; byte <= 'Z'; ++byte)
        kinds_[byte] = kinds_[lowered(byte, way_.sensitivity)];

    const auto nodeCount = static_cast<std::uint32_t>(nodes_.size());
    const std::uint32_t behindWord = kindCount_;
    firstNode_ = 2 * kindCount_;
    std::vector<std::uint32_t> states(nodeCount);
    nodesOfRows_.assign(2, 0);
    for (const bool isKey : {false, true}) {
        if (isKey) firstKey_ = static_cast<std::uint32_t>(nodesOfRows_.size()) * kindCount_;
        for (std::uint32_t node = 1; node < nodeCount; ++node) {
            if ((nodes_[node].key != 0) != isKey) continue;
            states[node] = static_cast<std::uint32_t>(nodesOfRows_.size()) * kindCount_;
            nodesOfRows_.push_back(node);
        }
    }

    steps_.resize(nodesOfRows_.size() * kindCount_);
    for (const std::uint32_t state : {0U, behindWord}) {
        steps_[state + other] = notPlain;
        for (std::size_t byte = 0; byte < startingWith_.size(); ++byte)
            if (way_.asWord && (traits_[byte] & word) != 0) steps_[state + kinds_[byte]] = behindWord;
    }
    // A node's steps are those of the state that the text would be in if nothing had started where the node has, but
    // for its own children.
    std::vector<std::uint32_t> otherwise(nodeCount);
    for (std::uint32_t node = 0; node < nodeCount; ++node) {
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

void MentionMatcher::Tree::grow(const std::vector<std::u32string>& keys) {
    struct Range {
        std::size_t first;
        std::size_t end;
    };
    nodes_.emplace_back();
    scalars_ += U'\0';
    std::vector<Range> ranges = {{0, keys.size()}};  // the keys that start as a node does
    for (std::uint32_t node = 0; node < nodes_.size(); ++node) {
        const std::uint32_t depth = nodes_[node].depth;
        auto [first, end] = ranges[node];
        if (first < end && keys[first].size() == depth) ++first;  // it ends here
        nodes_[node].firstChild = static_cast<std::uint32_t>(nodes_.size());
        for (std::size_t next = first; first < end; first = next) {
            const char32_t scalar = keys[first][depth];
            while (next < end && keys[next][depth] == scalar)
                ++next;
            const auto made = static_cast<std::uint32_t>(nodes_.size());
            Node child{.depth = depth + 1};
            // A node's suffixes are higher up, where all children stand already.
            for (std::uint32_t suffix = node; suffix != 0 && child.suffix == 0;) {
                suffix = nodes_[suffix].suffix;
                child.suffix = this->child(suffix, scalar);
            }
            child.key = keys[first].size() == child.depth ? made : nodes_[child.suffix].key;
            if (node == 0 && scalar < startingWith_.size()) startingWith_[scalar] = made;
            nodes_.push_back(child);
            scalars_ += scalar;
            ranges.push_back({first, next});
            ++nodes_[node].childCount;
        }
    }
}

std::uint32_t MentionMatcher::Tree::child(std::uint32_t node, char32_t scalar) const {
    if (node == 0 && scalar < startingWith_.size()) return startingWith_[scalar];
    const auto [firstChild, childCount, depth, suffix, key] = nodes_[node];
    if (childCount == 1) return scalars_[firstChild] == scalar ? firstChild : 0;
    const auto first = scalars_.begin() + firstChild;
    const auto end = first + childCount;
    const auto found = std::lower_bound(first, end, scalar);
    return found != end && *found == scalar ? static_cast<std::uint32_t>(found - scalars_.begin()) : 0;
}

/// Where a search in plain ASCII is.
struct MentionMatcher::Tree::Walk {
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

/// Goes over the text to where `next` is no state, or one in which a key may end; false where the text ends or no key
/// has started for a while. All that it takes to do so stands in registers.
[[gnu::noinline]] bool MentionMatcher::Tree::goOn(Walk& walk, std::string_view text) const {
    const std::uint32_t* const steps = steps_.data();
    const std::uint8_t* const kinds = kinds_.data();
    const std::uint32_t firstNode = firstNode_;
    const std::uint32_t firstKey = firstKey_;
    auto [offset, before, state, next, idle] = walk;
    bool isHeld = false;
    for (; offset < text.size() && idle < patience; ++offset) {
        next = steps[state + kinds[static_cast<std::uint8_t>(text[offset])]];
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

/// One pass over a text. From each place where a key may start on it keeps the deepest node whose scalars end here and
/// started at such a place: in plain ASCII by the table, among other characters scalar by scalar.
class MentionMatcher::Tree::Search {
public:
    Search(const Tree& tree, std::string_view text) : tree_(tree), text_(text), words_(text) {}

    bool matches() {
        while (goToStart()) {
            std::optional<std::uint32_t> node = 0;
            if (!tree_.steps_.empty() && takePlain(node)) return true;
            if (node && takeCharacters(*node)) return true;
        }
        return false;
    }

private:
    bool mayStart() const { return !tree_.way_.asWord || !followsWord_; }

    std::uint8_t traitsAt(std::size_t offset) const { return tree_.traits_[static_cast<std::uint8_t>(text_[offset])]; }

    /// Goes on to where some key may start; false at the text's end.
    bool goToStart() {
        for (; passOver(); followsWord_ = false) {
            if (mayStart() && words_.characters().contain(offset_)) return true;
            passOverScalar();
            // Bound to what stands in front of it, ASCII is part of no word.
            const bool isBound =
                offset_ < text_.size() && Text::isASCII(text_[offset_]) && !words_.characters().contain(offset_);
            if (isBound) passOverScalar();
        }
        return false;
    }

    /// Goes on to the next byte that cannot be passed over by its traits; false at the text's end.
    bool passOver() {
        unsigned wanted = mayStart() ? starts : lead;
        std::size_t offset = offset_;
        for (; offset < text_.size(); ++offset) {
            const unsigned traits = traitsAt(offset);
            const unsigned found = traits & wanted;
            if (found == start || (found != 0 && tree_.firstScalars_.mayStartAt(text_, offset))) break;
            wanted = traits >> 4;
        }
        if (offset != offset_) followsWord_ = isWordAt(offset - 1);
        offset_ = offset;
        return offset < text_.size();
    }

    void passOverScalar() {
        do
            ++offset_;
        while (offset_ < text_.size() && (text_[offset_] & 0xC0) == 0x80);
    }

    /// Follows what starts here through plain ASCII, until nothing has started for a while; true where a key has ended.
    /// Where what follows is not plain, `node` is how far it has come, else absent.
    bool takePlain(std::optional<std::uint32_t>& node) {
        const std::size_t begin = offset_;
        Walk walk{begin};
        while (tree_.goOn(walk, text_)) {
            if (walk.next == notPlain) {
                node = walk.offset == begin ? 0 : leavePlain(begin, walk);
                return false;
            }
            if (isKeysEnd(tree_.nodesOfRows_[walk.next / tree_.kindCount_], walk.offset + 1)) return true;
            walk.take();
        }
        followsWord_ = isWordAt(walk.offset - 1);
        offset_ = walk.offset;
        node.reset();
        return false;
    }

    /// Goes back to the last character, which may have a mark on it and then is not plain either; the node that the
    /// search had come to there. Absent for the root, unless that is where it began.
    std::optional<std::uint32_t> leavePlain(std::size_t begin, const Walk& walk) {
        offset_ = walk.offset - 1;
        const bool hasMoved = offset_ != begin;
        followsWord_ = hasMoved && isWordAt(offset_ - 1);
        const std::uint32_t node = tree_.nodesOfRows_[walk.before / tree_.kindCount_];
        return node == 0 && hasMoved ? std::nullopt : std::optional(node);
    }

    bool isWordAt(std::size_t offset) const { return (traitsAt(offset) & word) != 0; }

    /// Whether a key that may end at the offset, behind plain ASCII, does.
    bool isKeysEnd(std::uint32_t node, std::size_t offset) {
        if (offset < text_.size() && !Text::isASCII(text_[offset])) return false;  // the character may not
        offset_ = offset;
        followsWord_ = isWordAt(offset - 1);
        if (tree_.way_.asWord && !isWordsEnd()) return false;
        for (std::uint32_t key = tree_.nodes_[node].key; key != 0; key = tree_.nodes_[tree_.nodes_[key].suffix].key)
            if (key == node || !tree_.way_.asWord || !isWordAt(offset - tree_.nodes_[key].depth - 1)) return true;
        return false;
    }

    /// Follows what has come to the node, and what starts here, until nothing has started any more; true where a key
    /// has ended.
    bool takeCharacters(std::uint32_t node) {
        const Text::Case sensitivity = tree_.way_.sensitivity;
        recall(tree_.nodes_[node].depth);
        do {
            const Text::Character facts = Text::characterAt(text_, offset_, sensitivity);
            const auto character = text_.substr(offset_, facts.end - offset_);
            node = next(node, facts.first, mayStart());
            if (!facts.isWhole && node != 0) node = takeRest(node, character);
            offset_ = facts.end;
            followsWord_ = character.size() == 1 && isWordByte(character.front());
            if (tree_.nodes_[node].key != 0 && endsKey(node)) return true;
        } while (node != 0 && offset_ < text_.size());
        return false;
    }

    /// Follows the scalars of a character behind its first one.
    std::uint32_t takeRest(std::uint32_t node, std::string_view character) {
        if (character.size() > longestCharacter) return 0;
        const std::u32string form = Text::comparable(character, tree_.way_.sensitivity);
        for (std::size_t i = 1; i < form.size() && node != 0; ++i)
            node = next(node, form[i], false);
        return node;
    }

    /// Remembers where a key may have started among the last characters, which are plain ASCII; with the first of them
    /// one has.
    void recall(std::size_t count) {
        if (starts_.empty()) starts_.resize(std::bit_ceil(tree_.nodes_.back().depth + std::size_t{1}));
        for (std::size_t i = count; i > 0; --i)
            remember(i == count || !tree_.way_.asWord || !isWordAt(offset_ - i - 1));
    }

    void remember(bool mayStartHere) { starts_[taken_++ & (starts_.size() - 1)] = mayStartHere; }

    std::uint32_t next(std::uint32_t node, char32_t scalar, bool mayStartHere) {
        std::uint32_t found = 0;
        while (node != 0 && (found = tree_.child(node, scalar)) == 0)
            do
                node = tree_.nodes_[node].suffix;
            while (node != 0 && !hasStarted(node));
        if (node == 0 && mayStartHere) found = tree_.child(0, scalar);
        remember(mayStartHere);
        return found;
    }

    /// Whether the last scalars, as many as the node is deep, began where a key may start.
    bool hasStarted(std::uint32_t node) const {
        return starts_[(taken_ - tree_.nodes_[node].depth) & (starts_.size() - 1)];
    }

    /// Whether a key that may end here has ended, at the node or at a suffix of it.
    bool endsKey(std::uint32_t node) {
        if (tree_.way_.asWord && !isWordsEnd()) return false;
        for (std::uint32_t key = tree_.nodes_[node].key; key != 0; key = tree_.nodes_[tree_.nodes_[key].suffix].key)
            if (key == node || hasStarted(key)) return true;
        return false;
    }

    /// Whether here, or behind the underscores that follow, is a boundary of a word.
    bool isWordsEnd() {
        if (followsWord_ != words_.hasCharacterAt(offset_)) return true;
        if (!followsWord_ || text_[offset_] != '_') return false;
        const std::size_t end = std::min(text_.find_first_not_of('_', offset_), text_.size());
        // With an accent the last underscore is none, and no part of the word.
        return !words_.hasCharacterAt(end - 1) || !words_.hasCharacterAt(end);
    }

    const Tree& tree_;
    std::string_view text_;
    Words words_;
    std::size_t offset_ = 0;
    bool followsWord_ = false;  ///< whether a word character ends at the offset
    std::vector<char> starts_;  ///< of the last scalars, round and round: whether a key may start with each
    std::size_t taken_ = 0;     ///< scalars, all together
};

bool MentionMatcher::Tree::matches(std::string_view text) const {
    return Search(*this, text).matches();
}

MentionMatcher::MentionMatcher(const std::vector<MentionKey>& keys) {
    for (const Text::Case sensitivity : {Text::Case::insensitive, Text::Case::sensitive})
        for (const bool asWord : {true, false}) {
            std::vector<std::u32string> forms;
            for (const auto& [key, caseSensitive] : keys) {
                if (caseSensitive != (sensitivity == Text::Case::sensitive) || isWordless(key) == asWord) continue;
                auto form = comparableKey(key, sensitivity);
                if (!form.empty()) forms.push_back(std::move(form));
            }
            if (!forms.empty()) trees_.emplace_back(Way{sensitivity, asWord}, std::move(forms));
        }
}

bool MentionMatcher::matches(std::string_view text) const {
    return std::any_of(trees_.begin(), trees_.end(), [&](const Tree& tree) { return tree.matches(text); });
}

}  // namespace ChatModel::NotificationRules
