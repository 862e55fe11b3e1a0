#include "ChatModel/Team.h"

#include "ChatModel/EntityCoding.h"

using ChatModel::Team;

template <>
constexpr auto Foundation::fields<Team> = std::tuple{
    required("id", &Team::id),
    required("name", &Team::name),
    required("display_name", &Team::displayName),
    required("delete_at", &Team::deleteAt),
};

template struct ChatModel::ServerJSON<Team>;

std::size_t std::hash<Team>::operator()(const Team& team) const noexcept {
    return Foundation::hashFields(team);
}
