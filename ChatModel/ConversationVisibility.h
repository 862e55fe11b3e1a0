#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ChatModel/Preference.h"

namespace ChatModel {

struct Channel;

/// The key of the preference that shows or hides a direct or group conversation in the sidebar.
struct ConversationVisibility {
    std::string category;
    std::string name;  ///< the other user's identifier, or the group channel's

    /// Nothing for a channel of another kind, and for a direct one whose other user is not known.
    static std::optional<ConversationVisibility> make(const Channel& channel, std::string_view currentUserID);

    Preference preference(bool shown) const;

    friend bool operator==(const ConversationVisibility&, const ConversationVisibility&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::ConversationVisibility> {
    std::size_t operator()(const ChatModel::ConversationVisibility& visibility) const noexcept;
};
