#include "ChatPlatform/AppGroup.h"

#include "ChatPlatform/SharedServerStore.h"
#include "Support/Support.h"

using ChatPlatform::AppGroup;

namespace {

auto bundle(const Support::TemporaryDirectory& directory, const std::string& entries) {
    Support::writeFile(directory / "Contents/Info.plist", "<plist><dict>" + entries + "</dict></plist>");
    return Foundation::Bundle::open(directory.path());
}

const std::string group = "<key>TesselKeychainGroup</key><string>keys</string>";

TEST(AppGroup, ReadsTheInformation) {
    const Support::TemporaryDirectory directory;
    const AppGroup both(*bundle(directory, group + "<key>TesselAppGroup</key><string>g</string>"));
    EXPECT_EQ(both.keychainGroup, "keys");
    EXPECT_EQ(both.identifier, "g");
    for (const char* rest : {"", "<key>TesselAppGroup</key><string></string>", "<key>TesselAppGroup</key><true/>"}) {
        const AppGroup alone(*bundle(directory, group + rest));
        EXPECT_EQ(alone.identifier, std::nullopt) << rest;
        EXPECT_FALSE(ChatPlatform::SharedServerStore::make(alone)) << rest;
    }
}

TEST(AppGroupDeathTest, AMissingKeychainGroupStopsTheProcess) {
    const Support::TemporaryDirectory directory;
    for (const char* entries : {"", "<key>TesselKeychainGroup</key><integer>1</integer>", "<dict>damaged"})
        EXPECT_EXIT(AppGroup(*bundle(directory, entries)), testing::ExitedWithCode(70),
                    "ChatPlatform/AppGroup: Fatal error: .*TesselKeychainGroup")
            << entries;
}

}  // namespace
