#include "ChatPlatform/AppGroup.h"

#include "Foundation/FatalError.h"
#include "Foundation/GroupContainer.h"

namespace ChatPlatform {

using Foundation::textOrEmpty;

namespace {

constexpr const char* keychainGroupKey = "TesselKeychainGroup";
constexpr const char* appGroupKey = "TesselAppGroup";

}  // namespace

AppGroup::AppGroup(const Foundation::Bundle& bundle) {
    const auto* group = find(bundle.infoDictionary(), keychainGroupKey);
    if (group == nullptr || group->text() == nullptr)
        Foundation::fatalError("the information of the bundle " + bundle.bundlePath().string() + " has no text for \"" +
                                   keychainGroupKey + '"',
                               "ChatPlatform/AppGroup");
    keychainGroup = *group->text();
    if (const std::string text = textOrEmpty(bundle.infoDictionary(), appGroupKey); !text.empty()) identifier = text;
}

std::optional<std::filesystem::path> AppGroup::containerURL() const {
    if (!identifier) return std::nullopt;
    return Foundation::containerURL(*identifier);
}

}  // namespace ChatPlatform
