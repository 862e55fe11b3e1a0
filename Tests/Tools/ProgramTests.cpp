#include <algorithm>
#include <set>

#include "Tools/ProgramFixture.h"

// The programs as other tools call them: real processes, real files, a real server.

using DemoServer::Endpoint;
using testing::HasSubstr;

namespace {

TEST_F(ProgramTest, APushBecomesANotification) {
    signIn();
    server.addPost("post-1", {{"message", "Whole text"}, {"channel_name", "Town Square"}});
    const auto outcome = push({"--images"}, message());
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.errors, "");
    const auto line = outcome.lines().at(0);
    EXPECT_EQ(Foundation::textOrEmpty(line, "delivery"), "completed");
    EXPECT_EQ(line.at("donated").boolean(), true);
    EXPECT_EQ(contentText(line, "body"), "Whole text");
    const auto& intent = *line.at("content").dictionary()->at("intent").dictionary();
    const auto& sender = *intent.at("sender").dictionary();
    EXPECT_EQ(Foundation::textOrEmpty(sender, "displayName"), "Town Square");
    EXPECT_GT(sender.at("imageBytes").integer(), 0);
    EXPECT_THAT(Foundation::textOrEmpty(sender, "imageData"), testing::StartsWith("iVBORw0KGgo"));  // a PNG file

    const auto plain = push({"--no-donations"}, message());
    EXPECT_THAT(plain.output, HasSubstr(R"("intent":null},"donated":false)"));
    const bool journalRuns = std::filesystem::exists("/run/systemd/journal/socket");
    EXPECT_EQ(plain.errors, journalRuns ? "" : "default com.norvane.tessel Push: The push stays a plain notification: "
                                               "The system takes no donations of interactions.\n");
    EXPECT_THAT(push({"--format", "text"}, message()).output, HasSubstr("│ ● Town Square (picture of "));
}

TEST_F(ProgramTest, BadInputIsReportedByItsPlaceAndCostsNothingElse) {
    Support::writeFile(directory / "a", "\n{\"type\":\"x\"}\r\n[\"canary\"]\n{\"canary\":tru}");
    Support::writeFile(directory / "b", "{\n \"type\":\"x\",\n \"aps\":{\"alert\":\"whole\"}\n}\n");
    const std::string a = directory / "a";
    const auto outcome = push({a, "/nowhere", "-", directory / "b"}, "\xff\n\n{\"aps\":{\"alert\":\"from input\"}}");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, a + ":3: expected an object\n" + a + ":4: not valid JSON: an unknown literal\n" +
        "/nowhere: No such file or directory\n-:1: not valid JSON: The input is not valid UTF-8\n");
    std::vector<std::pair<std::int64_t, std::string>> delivered;
    for (const auto& line : outcome.lines())
        delivered.emplace_back(line.at("index").integer().value(), contentText(line, "body"));
    EXPECT_THAT(delivered, testing::ElementsAre(std::pair(0, ""), std::pair(4, "from input"), std::pair(5, "whole")));
    const std::string deep = "{\"a\":" + std::string(5'000'000, '[') + std::string(5'000'000, ']') + "}";
    EXPECT_EQ(push({}, deep).errors, "-:1: not valid JSON: nested too deeply\n");
}

TEST_F(ProgramTest, AHungServerCostsNoMoreThanTheTimeLimit) {
    signIn();
    server.setBehavior(Endpoint::acknowledgement, {.isHeld = true});
    const auto lines = push({"--time-limit", "0.2", "--jobs", "8"}, message() + message() + message()).lines();
    EXPECT_EQ(lines.size(), 3U);
    for (const auto& line : lines) {
        EXPECT_EQ(Foundation::textOrEmpty(line, "delivery"), "expired");
        EXPECT_EQ(contentText(line, "body"), "A message");
    }
    // The clock is real here, and the machine may be busy: one of a few tries has to be in time.
    double soonest = 1e9;
    for (int i = 0; i < 5 && soonest > 250; ++i) {
        const std::string output = push({"--time-limit", "0.2"}, message()).output;
        soonest = std::min(soonest, std::stod(output.substr(output.rfind("\"milliseconds\":") + 15)));
    }
    EXPECT_GE(soonest, 200);
    EXPECT_LE(soonest, 250);
}

using ProgramLongTest = ProgramTest;

TEST_F(ProgramLongTest, ManyAtOnceAreEachDeliveredOnce) {
    constexpr int count = 10'000;
    signIn();
    std::string input;
    for (int i = 0; i < count; ++i) input += message("post-" + std::to_string(i));
    std::set<std::int64_t> seen;
    const auto lines = push({"--jobs", "64"}, input).lines();
    for (const auto& line : lines) {
        const auto index = line.at("index").integer().value();
        EXPECT_TRUE(seen.insert(index).second);
        EXPECT_THAT(contentText(line, "body"), HasSubstr("post-" + std::to_string(index)));
    }
    EXPECT_EQ(lines.size(), count);
}

TEST_F(ProgramTest, UnusableBundlesStopIt) {
    const std::filesystem::path extension = TESSEL_EXTENSION;
    const auto copy = directory / "copy.appex";
    std::filesystem::copy(extension.parent_path().parent_path().parent_path(), copy,
                          std::filesystem::copy_options::recursive);
    const std::string program = copy / "Contents/MacOS/TesselMacNotificationService";
    const std::string payload = R"({"type":"message"})";
    EXPECT_THAT(run({program}, payload).output, HasSubstr("We could not verify this notification with the server."));

    std::filesystem::rename(copy / "Contents/Resources", copy / "Resources");
    const auto withoutResources = run({program}, payload);
    EXPECT_EQ(withoutResources.status, 70);
    EXPECT_EQ(withoutResources.output + withoutResources.errors,
              "ChatPush/resource_bundle_accessor: Fatal error: unable to find bundle named TesselKit_ChatPush\n");

    Support::writeFile(copy / "Contents/Info.plist", "<plist version=\"1.0\"><dict/></plist>");
    for (const auto& outcome : {run({program}, payload), push({"--bundle", copy}, payload),
                                tessel({"server", "list", "--bundle", copy}), push({"--bundle=/nowhere"}, payload)}) {
        EXPECT_EQ(outcome.status, 70);
        EXPECT_THAT(outcome.errors, HasSubstr("Fatal error: "));
        EXPECT_EQ(outcome.output, "");
    }
    environment["TESSEL_BUNDLE"] = copy;
    EXPECT_EQ(tessel({"token", "has", "http://h"}).status, 70);
    environment["TESSEL_BUNDLE"] = "";
    EXPECT_EQ(tessel({"token", "has", "http://h"}).status, 1);
}

TEST_F(ProgramTest, ExitStatuses) {
    signIn();
    const std::string url = server.url();
    const std::pair<std::vector<std::string>, int> rows[] = {
        {{"server", "show", "demo-server"}, 0}, {{"server", "show", "other"}, 1},
        {{"server", "remove", "http://other"}, 0}, {{"server", "remove", "no url"}, 2},
        {{"server", "add", "--url", "http://h"}, 2}, {{"server"}, 2}, {{"token", "has", url}, 0},
        {{"token", "has", url + "/"}, 1}, {{"token", "has", "no url"}, 2},
        {{"token", "remove", url + "/"}, 0}, {{"model", "nothing"}, 2},
        {{"model"}, 2}, {{"--version"}, 0}, {{"server", "add", "--help"}, 0}, {{}, 2}, {{"push", "--jobs", "0"}, 2},
        {{"push", "--jobs", "1025"}, 2}, {{"push", "--time-limit", "0"}, 2}, {{"push", "--time-limit", "nan"}, 2},
        {{"push", "--format", "xml"}, 2}, {{"push", "--unknown"}, 2}, {{"push", "--help"}, 0}, {{"push"}, 0}};
    for (const auto& [arguments, status] : rows) {
        const auto outcome = tessel(arguments);
        const auto lines = std::count(outcome.errors.begin(), outcome.errors.end(), '\n');
        EXPECT_EQ(outcome.status, status) << testing::PrintToString(arguments) << outcome.errors;
        EXPECT_EQ(lines, status == 0 || outcome.errors.empty() ? 0 : 1) << outcome.errors;
    }
    EXPECT_EQ(tessel({"token", "set", url}, "\r\ntoken").status, 1);
    Support::writeFile(directory / "containers/group.com.norvane.tessel/Library/Servers/damaged.json", "{");
    EXPECT_EQ(tessel({"server", "list"}).status, 3);
    EXPECT_EQ(tessel({"server", "show", "demo-server"}).status, 0);
    environment["TESSEL_KEYCHAIN"] = "unknown:";
    EXPECT_EQ(tessel({"token", "has", url}).status, 3);
    environment["TESSEL_GROUP_CONTAINERS"] = "";
    EXPECT_EQ(tessel({"server", "list"}).status, 3);
}

TEST_F(ProgramTest, TheModelsOperationsOnPushes) {
    const auto& key = server.options().key;
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"push-payload", R"({"type":"clear","post_id":"p","is_crt_enabled":1,"aps":{"badge":4.0}})",
         R"({"kind":"clear","serverID":"","serverURL":null,"ackID":"","signature":null,"postID":"p","channelID":"",)"
         R"("rootID":"","teamID":"","senderID":"","senderName":"","channelName":"","overrideUsername":"",)"
         R"("overrideIconURL":null,"isFromWebhook":false,"isCollapsedThreads":true,"isIDLoaded":false,"badge":4,)"
         R"("subType":"","isVerified":true,"threadRootID":"p","conversationID":""})"},
        {"push-is-shown", R"({"payload":{"type":"message","channel_id":"c"},"channelID":"c","threadID":null})", "true"},
        {"push-is-cleared", R"({"payload":{"type":"message","root_id":"r"},"clear":{"type":"clear","root_id":"r",)"
                            R"("is_crt_enabled":true}})", "true"},
        {"verify", R"({"token":")" + key.token("a", "d") + R"(","publicKey":")" + key.publicKey() +
                       R"(","ackID":"a","deviceToken":"d"})", R"("ok")"},
        {"avatar-url", R"({"payload":{"type":"message","sender_id":"u"},"server":"http://h/x/"})",
         R"("http://h/x/api/v4/users/u/image")"},
        {"avatar-url", R"({"payload":{"type":"message"},"server":"a b"})", R"({"error":"server: expected a URL"})"},
        {"content-unverified", R"({"content":{"title":"t"},"text":"x"})",
         R"({"title":"","subtitle":"","body":"x","threadIdentifier":"","categoryIdentifier":"","badge":null,)"
         R"("sound":null,"userInfo":{"verified":"false"},"intent":null})"},
        {"content-configure", R"({"content":{}})",
         R"({"error":"content.userInfo: no push payload: \"type\" names no kind"})"},
        {"content-apply", R"({"content":{"title":"t"},"message":{"sender_id":5}})",
         R"({"error":"message.sender_id: expected a text"})"},
        {"content-apply", R"({"content":{"title":"t"}})", R"({"error":"message: missing"})"},
        {"intent", R"({"payload":{"type":"message","sender_id":"u"},"content":{"body":"b"},"avatarBytes":0})",
         R"({"sender":{"handle":"u","displayName":"","customIdentifier":"u","imageBytes":0},)"
         R"("conversationIdentifier":"","content":"b","outgoingMessageType":"text"})"}};
    for (const auto& [operation, input, output] : rows) {
        const auto outcome = tessel({"model", operation}, input + "\r\n \n");
        EXPECT_EQ(outcome.output, output + '\n') << operation << input;
        EXPECT_EQ(outcome.status, output.starts_with("{\"error\"") ? 1 : 0);
    }
    EXPECT_EQ(tessel({"model", "push-payload"}, "nope\n[]\n{\"type\":\"other\"}\n").output,
              "{\"error\":\"not valid JSON: an unknown literal\"}\n{\"error\":\"expected an object\"}\nnull\n");
}

}  // namespace
