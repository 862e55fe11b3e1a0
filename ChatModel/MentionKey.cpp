#include "ChatModel/MentionKey.h"

#include <algorithm>

#include "Foundation/Hash.h"
#include "Text/Characters.h"

namespace ChatModel::NotificationRules {

namespace {

/// A key for each piece of the list, the empty ones too; nothing is trimmed.
void appendListed(std::string_view list, std::vector<MentionKey>& keys) {
    Text::CharacterBoundaries characters(list);
    std::size_t start = 0;
    for (std::size_t comma = list.find(','); comma != std::string_view::npos; comma = list.find(',', comma + 1)) {
        if (!characters.standsAlone(comma)) continue;
        keys.push_back({std::string(list.substr(start, comma - start)), false});
        start = comma + 1;
    }
    keys.push_back({std::string(list.substr(start)), false});
}

}  // namespace

std::vector<MentionKey> mentionKeys(const User& user) {
    std::vector<MentionKey> keys;
    const std::string_view listed = setting(user.notifyProps, "mention_keys");
    if (!listed.empty()) appendListed(listed, keys);
    if (setting(user.notifyProps, "first_name") == "true" && !user.firstName.empty())
        keys.push_back({user.firstName, true});
    if (setting(user.notifyProps, "channel") == "true")
        for (const char* const everybody : {"@channel", "@all", "@here"})
            keys.push_back({everybody, false});
    std::string own = '@' + user.username;
    const auto isOwn = [&](const MentionKey& key) { return key.key == own; };
    if (std::none_of(keys.begin(), keys.end(), isOwn)) keys.push_back({std::move(own), false});
    return keys;
}

}  // namespace ChatModel::NotificationRules

std::size_t std::hash<ChatModel::NotificationRules::MentionKey>::operator()(
    const ChatModel::NotificationRules::MentionKey& key) const noexcept {
    return Foundation::hashOf(key.key, key.caseSensitive);
}
