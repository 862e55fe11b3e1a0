#include "Bundle/Locale.h"

#include <algorithm>
#include <optional>
#include <string_view>

#include "Foundation/Environment.h"

namespace Foundation {

namespace {

/// "zh_CN.UTF-8@modifier" is "zh-Hans": Chinese is written in the script of the region unless one is named.
std::string languageTag(std::string_view locale) {
    locale = locale.substr(0, locale.find_first_of(".@"));
    const std::size_t end = std::min(locale.find_first_of("_-"), locale.size());
    std::string language(locale.substr(0, end));
    if (language != "zh") return language;
    const std::string_view rest = locale.substr(end);
    const auto names = [&](std::string_view region) { return rest.find(region) != std::string_view::npos; };
    const bool isTraditional = names("Hant") || (!names("Hans") && (names("TW") || names("HK") || names("MO")));
    return isTraditional ? "zh-Hant" : "zh-Hans";
}

}  // namespace

std::vector<std::string> preferredLanguages() {
    std::optional<std::string_view> locale;
    for (const char* name : {"LC_ALL", "LC_MESSAGES", "LANG"})
        if (!locale) locale = environmentVariable(name);
    if (locale == "C" || locale == "POSIX") return {};

    std::vector<std::string> languages;
    std::string_view list = environmentVariable("LANGUAGE").value_or("");
    while (!list.empty()) {
        const std::size_t end = std::min(list.find(':'), list.size());
        if (end > 0) languages.push_back(languageTag(list.substr(0, end)));
        list.remove_prefix(std::min(end + 1, list.size()));
    }
    if (locale) languages.push_back(languageTag(*locale));
    return languages;
}

}  // namespace Foundation
