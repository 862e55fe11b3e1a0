#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "ChatModel/User.h"

namespace ChatModel::NotificationRules {

/// A text that mentions a user wherever it appears, such as "@bob".
struct MentionKey {
    std::string key;
    bool caseSensitive = false;

    friend bool operator==(const MentionKey&, const MentionKey&) = default;
};

/// The keys whose appearance in a message mentions the user, as the user's notify properties ask for them: own words,
/// the first name, "@channel", "@all" and "@here"; and always the user name behind an "@".
std::vector<MentionKey> mentionKeys(const User& user);

}  // namespace ChatModel::NotificationRules

template <>
struct std::hash<ChatModel::NotificationRules::MentionKey> {
    std::size_t operator()(const ChatModel::NotificationRules::MentionKey& key) const noexcept;
};
