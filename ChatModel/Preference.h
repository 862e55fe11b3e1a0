#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ChatModel {

/// One of the user's saved preferences:
///
///     {"category":"display_settings","name":"name_format","value":"full_name"}
///
/// Every key is required.
struct Preference {
    std::string category;
    std::string name;
    std::string value;

    /// Whether replies are collapsed into threads. The server's mode decides, absent where it has none: "always_on"
    /// whatever the user chose, "default_on" and "default_off" where the user chose nothing, anything else for no.
    static bool collapsedThreadsEnabled(const std::optional<std::string>& serverSetting,
                                        const std::vector<Preference>& preferences);

    friend bool operator==(const Preference&, const Preference&) = default;
};

/// The value of the first preference with this category and name, or null where there is none. Valid as long as the
/// list is unchanged.
const std::string* findPreference(const std::vector<Preference>& preferences, std::string_view category,
                                  std::string_view name);

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::Preference> {
    std::size_t operator()(const ChatModel::Preference& preference) const noexcept;
};
