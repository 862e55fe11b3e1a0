#include "ChatModel/NameFormat.h"

namespace ChatModel {

NameFormat nameFormat(std::string_view serverSetting, bool locked, const std::vector<Preference>& preferences) {
    const std::string* const own = locked ? nullptr : findPreference(preferences, "display_settings", "name_format");
    return Foundation::fromWireName<NameFormat>(own != nullptr ? *own : serverSetting).value_or(NameFormat::username);
}

}  // namespace ChatModel
