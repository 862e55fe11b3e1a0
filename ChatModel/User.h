#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>

#include "ChatModel/CustomStatus.h"
#include "ChatModel/Identifier.h"
#include "ChatModel/NameFormat.h"
#include "ChatModel/NotifyProps.h"

namespace ChatModel {

/// A user of the chat server:
///
///     {"id":"u1","username":"ann","nickname":"","first_name":"Ann","last_name":"Lee","notify_props":{"desktop":"all"},
///      "custom_status":{"emoji":"tea","text":"Tea"}}
///
/// The texts are required, but for the optional email.
struct User {
    Identifier id;
    std::string username;
    std::optional<std::string> email;
    std::string nickname;
    std::string firstName;
    std::string lastName;
    NotifyProps notifyProps;  ///< empty where missing

    /// Under "custom_status". Where that key is missing, the status whose JSON stands as a text in "props" under
    /// "customStatus"; absent where there is none or the text is none.
    std::optional<CustomStatus> customStatus;

    /// The first and the last name, whichever are there, the given name first whatever the locale.
    std::string fullName() const;

    /// The user's name on screen; the username where the name that the format asks for is blank.
    std::string displayName(NameFormat format) const;

    friend bool operator==(const User&, const User&) = default;
};

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::User> {
    std::size_t operator()(const ChatModel::User& user) const noexcept;
};
