#include "Desktop/Notification.h"

#include "Support/Support.h"

// What of a delivery a notification server is given.

using Desktop::Abilities;
using Desktop::Delivery;
using Desktop::Notification;

namespace {

std::string times(std::size_t count, std::string_view text) {
    std::string all;
    while (count-- > 0)
        all += text;
    return all;
}

/// The delivery of a message, but for what the content's members say.
Delivery delivery(const std::string& members = "") {
    return Delivery::read(R"({"delivery":"completed","content":{"title":"Title","subtitle":"","body":"Body",)"
                          R"("threadIdentifier":"","categoryIdentifier":"","badge":null,"sound":null,)"
                          R"("userInfo":{"type":"message"},"intent":null)" + members + "}}");
}

TEST(NotificationTest, ShowsTextAsText) {
    const auto family = "👨‍👩‍👧‍👦";
    const struct {
        std::string text, line, body, markup;
    } rows[] = {
        {"a\r\nb\rc\n\td\u2028e\u2029\u202Ef", "a b c  d e \u202Ef", "a\nb\nc\n d\ne\n\u202Ef", "a\nb\nc\n d\ne\n\u202Ef"},
        {"\x1b[31mred\x1b]0;x\a", "␛[31mred␛]0;x␇", "␛[31mred␛]0;x␇", "␛[31mred␛]0;x␇"},
        {{"\0\x7f", 2}, "␀␡", "␀␡", "␀␡"},
        {"\u009b31m\u0085", "\uFFFD31m\uFFFD", "\uFFFD31m\uFFFD", "\uFFFD31m\uFFFD"},
        {"\u00a0é\xff", "\u00a0é\uFFFD", "\u00a0é\uFFFD", "\u00a0é\uFFFD"},
        {"a\uFFFF\uFDEFb\U0002FFFE\uFDF0", "a\uFFFD\uFFFDb\uFFFD\uFDF0", "a\uFFFD\uFFFDb\uFFFD\uFDF0", "a\uFFFD\uFFFDb\uFFFD\uFDF0"},
        {"<b>&amp;</b> \"'", "<b>&amp;</b> \"'", "<b>&amp;</b> \"'", "&lt;b&gt;&amp;amp;&lt;/b&gt; &quot;&#39;"},
        {times(200, family), times(200, family), times(200, family), times(200, family)},
        {times(201, family), times(200, family) + "…", times(201, family), times(201, family)},
        {times(2001, "<"), times(200, "<") + "…", times(2000, "<") + "…", times(2000, "&lt;") + "…"},
    };
    for (const auto& [text, line, body, markup] : rows) {
        SCOPED_TRACE(text.substr(0, 30));
        EXPECT_EQ(Desktop::shownOnOneLine(text), line);
        EXPECT_EQ(Desktop::shownAsBody(text, false), body);
        EXPECT_EQ(Desktop::shownAsBody(text, true), markup);
    }
}

TEST(NotificationTest, SaysWhatTheContentSays) {
    const auto abilities = Abilities::of({"body", "actions", "body-markup"});
    const auto described = [](const std::optional<Notification>& notification) -> std::string {
        if (!notification) return "nothing";
        std::string text = notification->summary + '|' + notification->body + '|';
        for (const auto& [key, label] : notification->actions)
            text += key + '=' + label + ' ';
        return text + "|" + std::to_string(int(notification->urgency)) + (notification->isSilent ? " silent" : "") +
               (notification->picture ? " picture" : "");
    };
    const std::string sender = R"(,"intent":{"sender":{"displayName":")", reply = R"(,"categoryIdentifier":"CAN_REPLY")";
    const auto level = [](const std::string& name) {
        return R"(,"userInfo":{"type":"message","aps":{"interruption-level":)" + name + "}}";
    };
    const struct {
        std::string members;
        Abilities abilities;
        std::string expected;
    } rows[] = {
        {"", abilities, "Title|Body|default=Open |1 silent"},
        {R"(,"sound":"default","subtitle":"Sub<")", abilities, "Title|Sub&lt;\nBody|default=Open |1"},
        {R"(,"sound":"default","subtitle":"Sub<")", {}, "Title|Sub<\nBody||1"},
        {R"(,"title":"","body":"","subtitle":"Sub")", {}, "Tessel|Sub||1 silent"},
        {R"(,"title":"","body":"")", {}, "nothing"},
        {sender + R"(<i>Ada</i>","imageData":null}})", abilities, "<i>Ada</i>|Body|default=Open |1 silent"},
        {sender + R"(","imageData":"bm8gcGljdHVyZQ=="}})", {}, "Title|Body||1 silent"},
        {reply, abilities, "Title|Body|default=Open REPLY=Reply |1 silent"},
        {reply, Abilities::of({"actions", "inline-reply"}), "Title|Body|default=Open inline-reply=Reply |1 silent"},
        {reply, Abilities::of({"inline-reply"}), "Title|Body||1 silent"},
        {reply + R"(,"userInfo":{})", abilities, "Title|Body||1 silent"},
        {R"(,"userInfo":{"type":"clear"})", abilities, "nothing"},
        {R"(,"userInfo":{"type":"update_badge"})", abilities, "nothing"},
        {R"(,"userInfo":{"type":"session"})", abilities, "Title|Body|default=Open |1 silent"},
        {level(R"("passive")"), {}, "Title|Body||0 silent"},
        {level(R"("critical")"), {}, "Title|Body||2 silent"},
        {level("3"), {}, "Title|Body||1 silent"},
    };
    for (const auto& [members, of, expected] : rows) {
        SCOPED_TRACE(members);
        EXPECT_EQ(described(Notification::of(delivery(members), of)), expected);
    }
    // An error holds what the user has written, whole.
    const auto error = Notification::error("<Sum\nmary>", times(3000, "<"), abilities);
    EXPECT_EQ(described(error), "<Sum mary>|" + times(3000, "&lt;") + "||2");
    EXPECT_TRUE(error.isError);
}

}  // namespace
