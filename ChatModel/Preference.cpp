#include "ChatModel/Preference.h"

#include "ChatModel/EntityCoding.h"

using ChatModel::Preference;

template <>
constexpr auto Foundation::fields<Preference> = std::tuple{
    required("category", &Preference::category),
    required("name", &Preference::name),
    required("value", &Preference::value),
};

template struct ChatModel::ServerJSON<Preference>;

bool Preference::collapsedThreadsEnabled(const std::optional<std::string>& serverSetting,
                                         const std::vector<Preference>& preferences) {
    if (serverSetting == "always_on") return true;
    if (serverSetting != "default_on" && serverSetting != "default_off") return false;
    const std::string* const own = findPreference(preferences, "display_settings", "collapsed_reply_threads");
    return own != nullptr ? *own == "on" : serverSetting == "default_on";
}

const std::string* ChatModel::findPreference(const std::vector<Preference>& preferences, std::string_view category,
                                             std::string_view name) {
    for (const auto& preference : preferences)
        if (preference.category == category && preference.name == name) return &preference.value;
    return nullptr;
}

std::size_t std::hash<Preference>::operator()(const Preference& preference) const noexcept {
    return Foundation::hashFields(preference);
}
