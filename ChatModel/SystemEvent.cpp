#include "ChatModel/SystemEvent.h"

#include <algorithm>
#include <array>
#include <utility>

#include "ChatModel/Post.h"
#include "Foundation/Hash.h"

namespace ChatModel {

namespace {

using Kind = SystemEvent::Kind;
using Person = SystemEvent::Person;

/// Where a post of a kind names its subject.
enum class Subject { author, added, removed };

struct Row {
    Kind kind;
    std::string_view name;
    std::string_view type;
    Subject subject;
    bool isArrival;
};

constexpr std::array<Row, 10> rows = {{
    {Kind::joinedChannel, "joinedChannel", "system_join_channel", Subject::author, true},
    {Kind::joinedChannelAsGuest, "joinedChannelAsGuest", "system_guest_join_channel", Subject::author, true},
    {Kind::leftChannel, "leftChannel", "system_leave_channel", Subject::author, false},
    {Kind::addedToChannel, "addedToChannel", "system_add_to_channel", Subject::added, true},
    // Cut short by the server, exactly so.
    {Kind::addedToChannelAsGuest, "addedToChannelAsGuest", "system_add_guest_to_chan", Subject::added, true},
    {Kind::removedFromChannel, "removedFromChannel", "system_remove_from_channel", Subject::removed, false},
    {Kind::joinedTeam, "joinedTeam", "system_join_team", Subject::author, true},
    {Kind::leftTeam, "leftTeam", "system_leave_team", Subject::author, false},
    {Kind::addedToTeam, "addedToTeam", "system_add_to_team", Subject::added, true},
    {Kind::removedFromTeam, "removedFromTeam", "system_remove_from_team", Subject::removed, false},
}};

const Row& rowOf(Kind kind) {
    return rows[static_cast<std::size_t>(kind)];
}

/// The person whom the properties name; nothing without a user name.
std::optional<Person> person(const JSONValue::Object& props, std::string_view nameKey, std::optional<Identifier> id) {
    const std::string* const username = findString(props, nameKey);
    if (username == nullptr || username->empty()) return std::nullopt;
    return Person{.id = std::move(id), .username = *username};
}

std::optional<Identifier> findIdentifier(const JSONValue::Object& props, std::string_view key) {
    const std::string* const text = findString(props, key);
    return text == nullptr ? std::nullopt : std::optional<Identifier>(*text);
}

std::optional<Person> subjectOf(const Post& post, Subject subject) {
    switch (subject) {
        case Subject::author:
            return person(post.props, "username", post.userID);
        case Subject::added:
            return person(post.props, "addedUsername", findIdentifier(post.props, "addedUserId"));
        case Subject::removed:
            break;
    }
    return person(post.props, "removedUsername", findIdentifier(post.props, "removedUserId"));
}

}  // namespace

std::optional<SystemEvent> SystemEvent::make(const Post& post) {
    const auto* const row =
        std::find_if(rows.begin(), rows.end(), [&](const Row& candidate) { return candidate.type == post.type; });
    if (row == rows.end()) return std::nullopt;
    auto subject = subjectOf(post, row->subject);
    if (!subject) return std::nullopt;
    std::optional<Person> actor;
    if (row->subject == Subject::added) {
        actor = person(post.props, "username", findIdentifier(post.props, "userId").value_or(post.userID));
        if (!actor) return std::nullopt;
    }
    return SystemEvent{.kind = row->kind, .subject = *std::move(subject), .actor = std::move(actor)};
}

bool isArrival(SystemEvent::Kind kind) {
    return rowOf(kind).isArrival;
}

std::string_view name(SystemEvent::Kind kind) {
    return rowOf(kind).name;
}

}  // namespace ChatModel

std::size_t std::hash<ChatModel::SystemEvent::Person>::operator()(
    const ChatModel::SystemEvent::Person& person) const noexcept {
    return Foundation::hashOf(person.id, person.username);
}

std::size_t std::hash<ChatModel::SystemEvent>::operator()(const ChatModel::SystemEvent& event) const noexcept {
    return Foundation::hashOf(event.kind, event.subject, event.actor);
}
