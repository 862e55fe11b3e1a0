#include "Desktop/Delivery.h"

#include "Support/Support.h"

// What is read of a line of the extension's.

using Desktop::Delivery;

namespace {

std::string line(const std::string& delivery, const std::string& userInfo, const std::string& intent = "null") {
    return R"({"delivery":")" + delivery + R"(","content":{"title":"T","subtitle":"S","body":"B","threadIdentifier":"t",)"
           R"("categoryIdentifier":"C","badge":3,"sound":"s","userInfo":)" + userInfo + R"(,"intent":)" + intent + "}}\n";
}

TEST(DeliveryTest, HoldsWhatTheExtensionSays) {
    const std::string user = R"({"type":"message","post_id":"p"})";
    const auto read = Delivery::read(line("completed", user, R"({"sender":{"displayName":"Ada","imageData":"AAEC"}})"));
    EXPECT_EQ(read.content, (UserNotifications::UNMutableNotificationContent{"T", "S", "B", "t", "C", 3, "s",
                                                                             Support::dictionary(user)}));
    EXPECT_EQ(read.sender, (Delivery::Sender{"Ada", Foundation::Data{0, 1, 2}}));
    EXPECT_EQ(read.push->postID, "p");

    const struct {
        const char *delivery, *userInfo;
        bool isPush, isVerified;
    } rows[] = {
        {"completed", R"({"type":"clear"})", true, true},
        {"expired", R"({"type":"clear"})", true, true},
        {"completed", R"({"type":"clear","verified":"false"})", true, false},
        {"none", R"({"type":"clear"})", true, false},  // the extension has not answered for it
        {"completed", R"({"type":"other"})", false, false},
        {"completed", "{}", false, false},
    };
    for (const auto& [delivery, userInfo, isPush, isVerified] : rows) {
        SCOPED_TRACE(std::string(delivery) + userInfo);
        const auto one = Delivery::read(line(delivery, userInfo));
        EXPECT_EQ(one.push.has_value(), isPush);
        EXPECT_EQ(one.isVerified, isVerified);
        EXPECT_EQ(Foundation::textOrEmpty(one.content.userInfo, "verified") == "false", !isVerified);
        EXPECT_EQ(one.sender, std::nullopt);
    }
    const auto unlooked = Delivery::unlooked(R"({"type":"clear","verified":"true","aps":{"alert":{"body":"B"},"badge":1}})");
    EXPECT_EQ(unlooked.content.body, "B");
    EXPECT_FALSE(unlooked.isVerified);
    EXPECT_EQ(Foundation::textOrEmpty(unlooked.content.userInfo, "verified"), "false");
}

TEST(DeliveryTest, RefusesWhatItDoesNotUnderstand) {
    for (const std::string& garbage :
         {std::string(), std::string("\0\xff", 2), std::string("[]"), std::string(R"({"delivery":"completed"})"),
          line("completed", "[]"), line("completed", "{}", R"({"sender":{"displayName":"A","imageData":"!"}})"),
          line("completed", "{}", "[]"), line("completed", "{}") + line("completed", "{}")})
        EXPECT_THROW(Delivery::read(garbage), Foundation::DecodingError) << garbage;
    EXPECT_THROW(Delivery::unlooked("[1]"), Foundation::DecodingError);
}

}  // namespace
