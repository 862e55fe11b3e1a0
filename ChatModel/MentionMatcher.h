#pragma once

#include <memory>
#include <string_view>
#include <vector>

#include "ChatModel/MentionKey.h"

namespace ChatModel::NotificationRules {

/// Mention keys made ready to be looked for in texts, all of them in one pass that takes time in proportion to the
/// text, whatever it holds.
///
/// A key appears as a word of its own: neither a letter, a digit nor an underscore of ASCII stands in front of it, and
/// behind it, underscores aside, there is a word's boundary. A key that ends in anything else ('x+') is therefore met
/// in front of a word alone. Keys with characters of scripts that are written without spaces, or of Cyrillic, appear
/// wherever their text does. An empty key never does. Characters are compared as a person sees them: accents may be
/// composed or not, case counts where the key says so, and no character of the text is met in part. A character of
/// more than 1,024 bytes is never met.
///
/// Immutable and cheap to copy; several threads may use one. Texts are UTF-8; ill-formed bytes stand for U+FFFD.
class MentionMatcher {
public:
    explicit MentionMatcher(const std::vector<MentionKey>& keys);

    /// Whether any of the keys appears in the text.
    bool matches(std::string_view text) const;

private:
    struct Group;

    std::shared_ptr<const std::vector<Group>> groups_;
};

/// The same for one short text, for which it is not worth to make the keys ready.
bool mentionsAny(const std::vector<MentionKey>& keys, std::string_view text);

}  // namespace ChatModel::NotificationRules
