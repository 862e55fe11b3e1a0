#include "Desktop/DesktopFixture.h"

// `tessel-desktop show` before a notification server.

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

struct ShowTest : DesktopTest {};

TEST_F(ShowTest, TellsTheServerAllThatItCanShow) {
    NotificationServer notifications;
    show(message("Hello", "c"));
    const auto shown = notifications.next();
    EXPECT_EQ(end(), 0);
    for (const auto& [key, value] : shown.hints) std::cout << key << ' ' << value.peekValueType() << '\n';
    std::cout << shown.summary << '|' << shown.body << '|' << testing::PrintToString(shown.actions) << errors() << '\n';
}

}  // namespace
