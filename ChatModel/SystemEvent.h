#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>

#include "ChatModel/Identifier.h"

namespace ChatModel {

struct Post;

/// A change of membership, which the server records as a post of a special type with the people in its properties.
struct SystemEvent {
    enum class Kind {
        joinedChannel,
        joinedChannelAsGuest,
        leftChannel,
        addedToChannel,
        addedToChannelAsGuest,
        removedFromChannel,
        joinedTeam,
        leftTeam,
        addedToTeam,
        removedFromTeam
    };

    struct Person {
        std::optional<Identifier> id;  ///< the user's identifier, where the post names it
        std::string username;

        friend bool operator==(const Person&, const Person&) = default;
    };

    Kind kind;
    Person subject;               ///< who joined, left, was added or removed
    std::optional<Person> actor;  ///< who added the subject; absent for all other kinds

    /// The event of a post; nothing where its type is none of these, or its properties lack a person.
    static std::optional<SystemEvent> make(const Post& post);

    friend bool operator==(const SystemEvent&, const SystemEvent&) = default;
};

/// Whether somebody arrives by it.
bool isArrival(SystemEvent::Kind kind);

/// The kind's own name: "joinedChannel".
std::string_view name(SystemEvent::Kind kind);

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::SystemEvent::Person> {
    std::size_t operator()(const ChatModel::SystemEvent::Person& person) const noexcept;
};

template <>
struct std::hash<ChatModel::SystemEvent> {
    std::size_t operator()(const ChatModel::SystemEvent& event) const noexcept;
};
