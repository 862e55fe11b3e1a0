#include "ChatModel/MentionMatcher.h"

#include <algorithm>
#include <bit>
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
    const std::u32string scalars = Text::scalars(key);
    return std::any_of(scalars.begin(), scalars.end(), [](char32_t scalar) {
        return std::any_of(std::begin(wordlessBlocks), std::end(wordlessBlocks),
                           [&](const auto& block) { return block.first <= scalar && scalar <= block.second; });
    });
}

/// Calls `take(scalar, isFirst)` for the scalars of the comparable form of one character of the text. False, and no
/// call, for one that is too long to be compared.
template <class Take>
bool decompose(std::string_view character, const Text::Character& facts, Text::Case sensitivity, Take take) {
    if (facts.isWhole) {
        take(facts.first, true);
        return true;
    }
    if (character.size() > longestCharacter) return false;
    bool isFirst = true;
    for (const char32_t scalar : Text::comparable(character, sensitivity))
        take(scalar, std::exchange(isFirst, false));
    return true;
}

/// The key's comparable form; empty where no text can hold the key.
std::u32string comparableKey(std::string_view key, Text::Case sensitivity) {
    std::u32string form;
    for (std::size_t offset = 0; offset < key.size();) {
        const Text::Character character = Text::characterAt(key, offset, sensitivity);
        const auto bytes = key.substr(offset, character.end - offset);
        if (!decompose(bytes, character, sensitivity, [&](char32_t scalar, bool) { form += scalar; })) return {};
        offset = character.end;
    }
    return form;
}

/// What `traits_` says of a byte.
enum Trait : std::uint8_t { word = 1, start = 2, beyondASCII = 4 };

}  // namespace

MentionMatcher::Tree::Tree(Way way, std::vector<std::u32string> keys) : way_(way) {
    std::sort(keys.begin(), keys.end());
    keys.erase(std::unique(keys.begin(), keys.end()), keys.end());
    grow(keys);
    const bool ignoresCase = way.sensitivity == Text::Case::insensitive;
    for (std::size_t byte = 0; byte < startingWith_.size(); ++byte) {
        const bool isCapital = byte >= 'A' && byte <= 'Z';
        const bool starts = startingWith_[ignoresCase && isCapital ? byte + ('a' - 'A') : byte] != 0;
        traits_[byte] = (isWordByte(static_cast<char>(byte)) ? word : 0) | (starts ? start : 0);
    }
    std::fill(traits_.begin() + 128, traits_.end(), beyondASCII);
    for (const auto& key : keys)
        firstScalars_.insert(key.front());
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
    const auto first = scalars_.begin() + nodes_[node].firstChild;
    const auto end = first + nodes_[node].childCount;
    const auto found = std::lower_bound(first, end, scalar);
    return found != end && *found == scalar ? static_cast<std::uint32_t>(found - scalars_.begin()) : 0;
}

/// One pass over a text. From each place where a key may start on it keeps the deepest node whose scalars end here and
/// started at such a place.
class MentionMatcher::Tree::Search {
public:
    Search(const Tree& tree, std::string_view text) : tree_(tree), text_(text), words_(text) {}

    bool matches() {
        while (goToStart())
            if (takeKey()) return true;
        return false;
    }

private:
    bool mayStart() const { return !tree_.way_.asWord || !followsWord_; }

    /// Goes on to where some key may start; false at the text's end.
    bool goToStart() {
        for (; passOverASCII(); followsWord_ = false) {
            const bool isASCII = Text::isASCII(text_[offset_]);
            const std::size_t next = isASCII ? offset_ : tree_.firstScalars_.findOrASCII(text_, offset_);
            if (next == offset_) {
                if (mayStart() && words_.characters().contain(offset_)) return true;
                passOverScalar();
            } else {
                offset_ = next;
            }
            // Bound to what stands in front of it, ASCII is part of no word.
            const bool isBound =
                offset_ < text_.size() && Text::isASCII(text_[offset_]) && !words_.characters().contain(offset_);
            if (isBound) passOverScalar();
        }
        return false;
    }

    /// Goes on to the next byte of ASCII that a key may start with, or that is beyond it; false at the text's end.
    bool passOverASCII() {
        const std::uint8_t behindWord = tree_.way_.asWord ? beyondASCII : start | beyondASCII;
        std::uint8_t wanted = followsWord_ ? behindWord : start | beyondASCII;
        std::size_t offset = offset_;
        for (; offset < text_.size(); ++offset) {
            const std::uint8_t traits = tree_.traits_[static_cast<std::uint8_t>(text_[offset])];
            if ((traits & wanted) != 0) break;
            wanted = (traits & word) != 0 ? behindWord : start | beyondASCII;
        }
        if (offset != offset_) followsWord_ = isWordByte(text_[offset - 1]);
        offset_ = offset;
        return offset < text_.size();
    }

    void passOverScalar() {
        do
            ++offset_;
        while (offset_ < text_.size() && (text_[offset_] & 0xC0) == 0x80);
    }

    /// Follows what has started here until nothing has; true where a key has ended.
    bool takeKey() {
        const Text::Case sensitivity = tree_.way_.sensitivity;
        std::uint32_t node = 0;
        do {
            const Text::Character facts = Text::characterAt(text_, offset_, sensitivity);
            const auto character = text_.substr(offset_, facts.end - offset_);
            const bool maySomeStart = mayStart();
            const auto take = [&](char32_t scalar, bool isFirst) {
                node = next(node, scalar, isFirst && maySomeStart);
            };
            if (!decompose(character, facts, sensitivity, take)) node = 0;
            offset_ = facts.end;
            followsWord_ = character.size() == 1 && isWordByte(character.front());
            if (tree_.nodes_[node].key != 0 && endsKey(node)) return true;
        } while (node != 0 && offset_ < text_.size());
        return false;
    }

    std::uint32_t next(std::uint32_t node, char32_t scalar, bool mayStartHere) {
        std::uint32_t found = 0;
        while (node != 0 && (found = tree_.child(node, scalar)) == 0)
            do
                node = tree_.nodes_[node].suffix;
            while (node != 0 && !hasStarted(node));
        if (node == 0 && mayStartHere) found = tree_.child(0, scalar);
        if (starts_.empty()) starts_.resize(std::bit_ceil(tree_.nodes_.back().depth + std::size_t{1}));
        starts_[taken_++ & (starts_.size() - 1)] = mayStartHere;
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
    std::vector<bool> starts_;  ///< of the last scalars, round and round: whether a key may start with each
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
