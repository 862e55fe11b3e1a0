#pragma once

#include <array>
#include <string_view>
#include <vector>

#include "ChatModel/Preference.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

/// How people are named on screen. The setting's values are its wire names: `Foundation::wireName(format)`, and
/// `Foundation::fromWireName<NameFormat>(text)`, which has nothing for any other text.
enum class NameFormat {
    username,
    nicknameFullName,  ///< the nickname, else the full name
    fullName
};

/// The format in force: the user's own preference, unless the server has none of it or locks its own setting. A text
/// that is no setting value, the empty one included, gives `username`.
NameFormat nameFormat(std::string_view serverSetting, bool locked, const std::vector<Preference>& preferences);

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 3> Foundation::wireNames<ChatModel::NameFormat> = {
    "username", "nickname_full_name", "full_name"};
