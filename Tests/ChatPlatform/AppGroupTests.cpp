#include "ChatPlatform/AppGroup.h"

#include "Support/Support.h"

using ChatPlatform::AppGroup;

namespace {

AppGroup groupIn(const std::string& entries) {
    const Support::TemporaryDirectory directory;
    Support::writeFile(directory / "Contents/Info.plist", "<plist><dict>" + entries + "</dict></plist>");
    return AppGroup(*Foundation::Bundle::open(directory.path()));
}

TEST(AppGroup, ReadsTheInformation) {
    const std::string key = "<key>TesselAppGroup</key>", keychain = "<key>TesselKeychainGroup</key><string>k</string>";
    EXPECT_EQ(groupIn(keychain + key + "<string>g</string>").identifier, "g");
    EXPECT_EQ(groupIn(keychain).keychainGroup, "k");
    for (const auto& none : {std::string(), key + "<string></string>", key + "<true/>"}) {
        EXPECT_EQ(groupIn(keychain + none).identifier, std::nullopt) << none;
        EXPECT_EQ(groupIn(keychain + none).containerURL(), std::nullopt) << none;
    }
}

TEST(AppGroupDeathTest, AKeychainGroupThatIsNoTextStopsTheProcess) {
    EXPECT_EXIT(groupIn("<key>TesselKeychainGroup</key><integer>1</integer>"), testing::ExitedWithCode(70),
                "Fatal error: .*TesselKeychainGroup");
}

}  // namespace
