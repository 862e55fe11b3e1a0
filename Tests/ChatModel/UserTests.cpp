#include "ChatModel/User.h"

#include <gtest/gtest.h>

// clang-format off: the tables hold several short rows on a line.
using namespace ChatModel;

namespace {

TEST(User, IsShownByTheFormat) {
    using enum NameFormat;
    const std::tuple<const char*, const char*, const char*, NameFormat, const char*> rows[] = {
        {"nick", "Ann", "Lee", username, "ann"}, {"nick", "Ann", "Lee", nicknameFullName, "nick"},
        {"", "Ann", "Lee", nicknameFullName, "Ann Lee"}, {" \t", "Ann", "Lee", nicknameFullName, "ann"},
        {" n ", "", "", nicknameFullName, " n "}, {"n", "Ann", "", fullName, "Ann"}, {"n", "", "Lee", fullName, "Lee"},
        {"nick", "", "", fullName, "ann"}, {"", " ", "\t", fullName, "ann"}, {"\u00A0\u2003", "A", "", nicknameFullName, "ann"}, {"\n", "", "", nicknameFullName, "\n"}};
    for (const auto& [nickname, first, last, format, shown] : rows)
        EXPECT_EQ((User{"", "ann", {}, nickname, first, last, {}, {}}.displayName(format)), shown) << nickname << first;
}

TEST(Preference, TheFirstOneDecidesWhereTheServerLetsIt) {
    const auto chosen = [](const char* name, const char* value) {
        return std::vector<Preference>{{"x", name, "on"}, {"display_settings", "x", "full_name"},
                                       {"display_settings", name, value}, {"display_settings", name, "full_name"}};
    };
    using enum NameFormat;
    const auto own = chosen("name_format", "nickname_full_name"), odd = chosen("name_format", "Full_name");
    EXPECT_EQ((std::array{nameFormat("full_name", false, own), nameFormat("full_name", true, own),
                          nameFormat("full_name", false, {own[0], own[1]}), nameFormat("full_name", false, odd),
                          nameFormat("nickname", true, {})}),
              (std::array{nicknameFullName, fullName, fullName, username, username}));
    const std::tuple<std::optional<std::string>, const char*, bool> rows[] = {
        {{}, "on", false}, {"always_on", "off", true}, {"disabled", "on", false}, {"default_on", nullptr, true},
        {"default_off", nullptr, false}, {"default_on", "off", false}, {"default_off", "on", true}};
    for (const auto& [setting, value, isOn] : rows) {
        auto preferences = chosen("collapsed_reply_threads", value == nullptr ? "" : value);
        if (value == nullptr) preferences.resize(2);
        EXPECT_EQ(Preference::collapsedThreadsEnabled(setting, preferences), isOn) << setting.value_or("none");
    }
}

TEST(CustomStatus, ExpiresAtItsInstant) {
    const CustomStatus status{"", "", "", Foundation::Date{5}};
    EXPECT_TRUE(!status.isExpired({4.999}) && status.isExpired({5}) && status.isExpired({6}));
    EXPECT_FALSE(CustomStatus().isExpired({1e18}));
}

}  // namespace
