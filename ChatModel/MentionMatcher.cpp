#include "ChatModel/MentionMatcher.h"

#include <algorithm>
#include <bit>
#include <optional>
#include <utility>

#include "ChatModel/MentionTree.h"
#include "ChatModel/Words.h"
#include "Foundation/UTF8.h"

namespace ChatModel::NotificationRules {

namespace {

/// The scripts whose keys need be no words: those written without spaces, and Cyrillic.
constexpr std::pair<char32_t, char32_t> wordlessBlocks[] = {
    {0x0400, 0x04FF}, {0x0500, 0x052F}, {0x0E00, 0x0E7F}, {0x1100, 0x11FF}, {0x2DE0, 0x2DFF}, {0x3000, 0x303F},
    {0x3040, 0x30FF}, {0x3130, 0x318F}, {0x3400, 0x4DBF}, {0x4E00, 0x9FAF}, {0xAC00, 0xD7A3}, {0xFF00, 0xFF9F}};

/// No character of a key is longer, in bytes: accents beyond counting take long to put in order.
constexpr std::size_t longestCharacter = 1024;

/// Calls `take(bytes, character)` for each character of a key; false where no text can hold the key.
template <class Take>
bool forEachCharacter(std::string_view key, Text::Case sensitivity, Take take) {
    for (std::size_t offset = 0; offset < key.size();) {
        const Text::Character character = Text::characterAt(key, offset, sensitivity);
        const auto bytes = key.substr(offset, character.end - offset);
        if (bytes.size() > longestCharacter) return false;
        take(bytes, character);
        offset = character.end;
    }
    return true;
}

bool isWordless(std::string_view key) {
    bool isFound = false;
    forEachCharacter(key, Text::Case::sensitive, [&](std::string_view bytes, const Text::Character&) {
        if (bytes.size() == 1) return;
        const std::u32string scalars = Text::comparable(bytes, Text::Case::sensitive);
        for (const auto& [first, last] : wordlessBlocks)
            for (const char32_t scalar : scalars)
                isFound = isFound || (first <= scalar && scalar <= last);
    });
    return isFound;
}

/// The key's comparable form; empty where no text can hold the key.
std::u32string comparableKey(std::string_view key, Text::Case sensitivity) {
    std::u32string form;
    form.reserve(key.size());
    const bool isHeld =
        forEachCharacter(key, sensitivity, [&](std::string_view bytes, const Text::Character& character) {
            if (character.isWhole)
                form += character.first;
            else
                form += Text::comparable(bytes, sensitivity);
        });
    return isHeld ? form : std::u32string();
}

/// One pass over a text. From each place where a key may start on it keeps the deepest node whose scalars end here and
/// started at such a place: in plain ASCII by the table, among other characters scalar by scalar.
class Search {
public:
    Search(const MentionTree& tree, std::string_view text) : tree_(tree), text_(text), words_(text) {}

    /// Whether any key appears that is not doubtful.
    bool matches() {
        while (goToStart()) {
            std::optional<std::uint32_t> node = 0;
            if (tree_.hasSteps() && takePlain(node)) return true;
            if (node && takeCharacters(*node)) return true;
        }
        return false;
    }

    /// Whether a doubtful key has been met; that ends no search.
    bool hasDoubts() const { return hasDoubts_; }

private:
    bool mayStart() const { return !tree_.way().asWord || !followsWord_; }

    std::uint8_t traitsAt(std::size_t offset) const { return tree_.traits(text_[offset]); }

    /// Goes on to where some key may start; false at the text's end.
    bool goToStart() {
        for (; passOver(); followsWord_ = false) {
            if (mayStart() && !isWithinScalar() && words_.characters().contain(offset_)) return true;
            const bool mayBind = (traitsAt(offset_) & MentionTree::prepending) != 0;
            passOverScalar();
            // Bound to what stands in front of it, ASCII is part of no word.
            const bool isBound = mayBind && offset_ < text_.size() && Text::isASCII(text_[offset_]) &&
                                 !words_.characters().contain(offset_);
            if (isBound) passOverScalar();
        }
        return false;
    }

    /// Goes on to the next byte that cannot be passed over by its traits; false at the text's end.
    bool passOver() {
        unsigned wanted = mayStart() ? MentionTree::starts : MentionTree::prepending;
        std::size_t offset = offset_;
        for (; offset < text_.size(); ++offset) {
            const unsigned traits = traitsAt(offset);
            const unsigned found = traits & wanted;
            if (found == MentionTree::start || (found != 0 && tree_.firstScalars().mayStartAt(text_, offset))) break;
            wanted = traits >> MentionTree::behind;
        }
        if (offset != offset_) followsWord_ = isWordAt(offset - 1);
        offset_ = offset;
        return offset < text_.size();
    }

    /// What is passed over is so byte by byte, and where keys start with U+FFFD any byte may do so.
    bool isWithinScalar() const {
        const auto goesOn = [&](std::size_t offset) { return (text_[offset] & 0xC0) == 0x80; };
        std::size_t start = offset_;
        while (start > 0 && offset_ - start < 3 && goesOn(start))
            --start;
        return start + Foundation::lengthOfFirstScalar(text_.substr(start)) > offset_ && start != offset_;
    }

    // Not over all bytes that go on: those behind a whole scalar stand for characters of their own.
    void passOverScalar() { offset_ += Foundation::lengthOfFirstScalar(text_.substr(offset_)); }

    /// Follows what starts here through plain ASCII, until nothing has started for a while; true where a key has ended.
    /// Where what follows is not plain, `node` is how far it has come, else absent.
    bool takePlain(std::optional<std::uint32_t>& node) {
        const std::size_t begin = offset_;
        MentionTree::Walk walk{begin};
        while (tree_.goOn(walk, text_)) {
            if (walk.next == MentionTree::notPlain) {
                node = walk.offset == begin ? 0 : leavePlain(begin, walk);
                return false;
            }
            if (isKeysEnd(tree_.nodeOf(walk.next), walk.offset + 1)) return true;
            walk.take();
        }
        followsWord_ = isWordAt(walk.offset - 1);
        offset_ = walk.offset;
        node.reset();
        return false;
    }

    /// Goes back to the last character, which may have a mark on it and then is not plain either; the node that the
    /// search had come to there. Absent for the root, unless that is where it began.
    std::optional<std::uint32_t> leavePlain(std::size_t begin, const MentionTree::Walk& walk) {
        offset_ = walk.offset - 1;
        const bool hasMoved = offset_ != begin;
        followsWord_ = hasMoved && isWordAt(offset_ - 1);
        const std::uint32_t node = tree_.nodeOf(walk.before);
        return node == 0 && hasMoved ? std::nullopt : std::optional(node);
    }

    bool isWordAt(std::size_t offset) const { return (traitsAt(offset) & MentionTree::word) != 0; }

    /// Whether a key that may end at the offset, behind plain ASCII, does.
    bool isKeysEnd(std::uint32_t node, std::size_t offset) {
        if (offset < text_.size() && !Text::isASCII(text_[offset])) return false;  // the character may not
        offset_ = offset;
        followsWord_ = isWordAt(offset - 1);
        return endsKey(node, [&](std::uint32_t depth) { return !tree_.way().asWord || !isWordAt(offset - depth - 1); });
    }

    /// Follows what has come to the node, and what starts here, until nothing has started any more; true where a key
    /// has ended.
    bool takeCharacters(std::uint32_t node) {
        const Text::Case sensitivity = tree_.way().sensitivity;
        recall(tree_.node(node).depth);
        do {
            const Text::Character facts = Text::characterAt(text_, offset_, sensitivity);
            const auto character = text_.substr(offset_, facts.end - offset_);
            node = next(node, facts.first, mayStart());
            if (!facts.isWhole && node != 0) node = takeRest(node, character);
            offset_ = facts.end;
            followsWord_ = character.size() == 1 && isWordByte(character.front());
            if (tree_.node(node).key != 0 && endsKey(node, [&](std::uint32_t depth) { return hasStarted(depth); }))
                return true;
        } while (node != 0 && offset_ < text_.size());
        return false;
    }

    /// Follows the scalars of a character behind its first one.
    std::uint32_t takeRest(std::uint32_t node, std::string_view character) {
        if (character.size() > longestCharacter) return 0;
        const std::u32string form = Text::comparable(character, tree_.way().sensitivity);
        for (std::size_t i = 1; i < form.size() && node != 0; ++i)
            node = next(node, form[i], false);
        return node;
    }

    /// Remembers where a key may have started among the last characters, which are plain ASCII; with the first of them
    /// one has.
    void recall(std::size_t count) {
        if (starts_.empty()) starts_.resize(std::bit_ceil(tree_.depth() + std::size_t{1}));
        for (std::size_t i = count; i > 0; --i)
            remember(i == count || !tree_.way().asWord || !isWordAt(offset_ - i - 1));
    }

    void remember(bool mayStartHere) { starts_[taken_++ & (starts_.size() - 1)] = mayStartHere; }

    std::uint32_t next(std::uint32_t node, char32_t scalar, bool mayStartHere) {
        std::uint32_t found = 0;
        while (node != 0 && (found = tree_.child(node, scalar)) == 0)
            do
                node = tree_.node(node).suffix;
            while (node != 0 && !hasStarted(tree_.node(node).depth));
        if (node == 0 && mayStartHere) found = tree_.child(0, scalar);
        remember(mayStartHere);
        return found;
    }

    /// Whether the last scalars, as many as that, began where a key may start.
    bool hasStarted(std::uint32_t depth) const { return starts_[(taken_ - depth) & (starts_.size() - 1)]; }

    /// Whether a key that may end here has ended, at the node or at a suffix of it that `hasStarted(depth)`.
    template <class HasStarted>
    bool endsKey(std::uint32_t node, HasStarted hasStarted) {
        if (tree_.way().asWord && !isWordsEnd()) return false;
        for (std::uint32_t key = tree_.node(node).key; key != 0; key = tree_.node(tree_.node(key).suffix).key) {
            if (key != node && !hasStarted(tree_.node(key).depth)) continue;
            if (!tree_.node(key).isDoubtful) return true;
            hasDoubts_ = true;
        }
        return false;
    }

    /// Whether here, or behind the underscores that follow, is a boundary of a word.
    bool isWordsEnd() {
        if (followsWord_ != words_.hasCharacterAt(offset_)) return true;
        if (!followsWord_ || text_[offset_] != '_') return false;
        if (offset_ >= underscoresEnd_) underscoresEnd_ = std::min(text_.find_first_not_of('_', offset_), text_.size());
        return !words_.hasCharacterAt(underscoresEnd_);
    }

    const MentionTree& tree_;
    std::string_view text_;
    Words words_;
    std::size_t offset_ = 0;
    bool followsWord_ = false;        ///< whether a word character ends at the offset
    std::vector<char> starts_;        ///< of the last scalars, round and round: whether a key may start with each
    std::size_t taken_ = 0;           ///< scalars, all together
    std::size_t underscoresEnd_ = 0;  ///< of the run that was met last, in which several keys may end
    bool hasDoubts_ = false;
};

/// The keys that are looked for in one way, whether case counts aside.
struct Keys {
    bool asWord;
    std::vector<MentionTree::Key> all = {};    ///< as if case did not count
    std::vector<MentionTree::Key> cased = {};  ///< those in which it does, for texts that may hold one
};

/// The keys by their ways, of which none is empty.
std::vector<Keys> sorted(const std::vector<MentionKey>& keys) {
    Keys words{.asWord = true};
    Keys wordless{.asWord = false};
    for (const auto& [key, caseSensitive] : keys) {
        auto form = comparableKey(key, Text::Case::insensitive);
        if (form.empty()) continue;
        Keys& group = isWordless(key) ? wordless : words;
        group.all.push_back({std::move(form), caseSensitive});
        if (caseSensitive) group.cased.push_back({comparableKey(key, Text::Case::sensitive), false});
    }
    std::vector<Keys> groups;
    for (Keys* group : {&words, &wordless})
        if (!group->all.empty()) groups.push_back(std::move(*group));
    return groups;
}

}  // namespace

struct MentionMatcher::Group {
    MentionTree tree;
    std::optional<MentionTree> cased;
};

MentionMatcher::MentionMatcher(const std::vector<MentionKey>& keys) {
    std::vector<Group> groups;
    for (auto& [asWord, all, cased] : sorted(keys)) {
        groups.push_back({MentionTree({Text::Case::insensitive, asWord}, std::move(all), true), std::nullopt});
        if (!cased.empty())
            groups.back().cased.emplace(MentionTree::Way{Text::Case::sensitive, asWord}, std::move(cased), true);
    }
    groups_ = std::make_shared<const std::vector<Group>>(std::move(groups));
}

bool MentionMatcher::matches(std::string_view text) const {
    return std::any_of(groups_->begin(), groups_->end(), [&](const Group& group) {
        Search search(group.tree, text);
        return search.matches() || (search.hasDoubts() && Search(*group.cased, text).matches());
    });
}

bool mentionsAny(const std::vector<MentionKey>& keys, std::string_view text) {
    for (auto& [asWord, all, cased] : sorted(keys)) {
        const MentionTree tree({Text::Case::insensitive, asWord}, std::move(all), false);
        Search search(tree, text);
        if (search.matches()) return true;
        if (!search.hasDoubts()) continue;
        const MentionTree casedTree({Text::Case::sensitive, asWord}, std::move(cased), false);
        if (Search(casedTree, text).matches()) return true;
    }
    return false;
}

}  // namespace ChatModel::NotificationRules
