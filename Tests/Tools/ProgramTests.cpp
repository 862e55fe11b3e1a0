#include <regex>
#include <set>

#include "Tools/ProgramFixture.h"

// The programs as other tools call them: real processes, real files, a real server.

using testing::HasSubstr;

namespace {

TEST_F(ProgramTest, APushBecomesANotification) {
    signIn();
    server.addPost("post-1", {{"message", "Whole\x1B\ntext"}, {"channel_name", "Square"}});
    const auto outcome = tessel({"push", "--images"}, message());
    EXPECT_EQ(std::to_string(outcome.status) + outcome.errors, "0");
    for (const char* part :
         {R"({"index":0,"delivery":"completed","content":{"title":"Square","subtitle":"","body":"Whole\u001b\ntext",)"
          R"("threadIdentifier":"channel-1","categoryIdentifier":"CAN_REPLY","badge":null,"sound":null,"userInfo":{)",
          R"("intent":{"sender":{"handle":"alice","displayName":"Square","customIdentifier":"alice","imageBytes":)",
          R"("imageData":"iVBORw0KGgo)",  // a PNG file
          R"(},"conversationIdentifier":"channel-1","content":"Whole\u001b\ntext",)", R"("}},"donated":true)"})
        EXPECT_THAT(outcome.output, HasSubstr(part));
    EXPECT_THAT(tessel({"push", "--no-donations"}, message()).output, HasSubstr(R"("intent":null},"donated":false)"));
    EXPECT_THAT(tessel({"push", "--format", "text"}, message()).output,
                HasSubstr(" bytes)\n│ Whole\\u{1b}\n│ text\n╰─ thread channel-1 · category CAN_REPLY\n"));
}

TEST_F(ProgramTest, BadInputIsReportedByItsPlaceAndCostsNothingElse) {
    Support::writeFile(directory / "a", "\n{\"type\":\"x\"}\r\n[\"canary\"]\n{\"canary\":tru}");
    Support::writeFile(directory / "b", "{\n \"type\":\"x\",\n \"aps\":{\"alert\":\"whole\"}\n}\n");
    const std::string a = directory / "a", b = directory / "b";
    const auto outcome = tessel({"push", a, "/nowhere", "-", b}, "\xff\n\n{\"aps\":{\"alert\":\"from input\"}}");
    EXPECT_EQ(outcome.status, 1);
    EXPECT_EQ(outcome.errors, a + ":3: expected an object\n" + a + ":4: not valid JSON: an unknown literal\n" +
        "/nowhere: No such file or directory\n-:1: not valid JSON: The input is not valid UTF-8\n");
    std::string delivered;
    for (const auto& line : outcome.lines())
        delivered += std::to_string(line.at("index").integer().value()) + contentText(line, "body") + ';';
    EXPECT_EQ(delivered, "0;4from input;5whole;");
}

using ProgramLongTest = ProgramTest;

TEST_F(ProgramLongTest, ManyAtOnceAreEachDeliveredOnce) {
    constexpr int count = 10'000;
    signIn();
    std::string input;
    for (int i = 0; i < count; ++i) input += message("post-" + std::to_string(i));
    std::set<std::int64_t> seen;
    for (const auto& line : tessel({"push", "--jobs", "64"}, input).lines()) {
        const auto index = line.at("index").integer().value();
        EXPECT_TRUE(seen.insert(index).second);
        EXPECT_EQ(contentText(line, "body"), "The text of post-" + std::to_string(index));
    }
    EXPECT_EQ(seen.size(), count);
}

TEST_F(ProgramTest, UnusableBundlesStopIt) {
    const auto copy = directory / "copy.appex", built = std::filesystem::path(TESSEL_EXTENSION) / "../../..";
    std::filesystem::copy(built.lexically_normal(), copy, std::filesystem::copy_options::recursive);
    const std::string program = copy / "Contents/MacOS/TesselMacNotificationService", payload = R"({"type":"clear"})";
    EXPECT_THAT(run({program}, payload).output, HasSubstr("We could not verify this notification with the server."));

    std::filesystem::remove_all(copy / "Contents/Resources");
    EXPECT_EQ(run({program}, payload).errors,
              "ChatPush/resource_bundle_accessor: Fatal error: unable to find bundle named TesselKit_ChatPush\n");
    Support::writeFile(copy / "Contents/Info.plist", "<plist version=\"1.0\"><dict/></plist>");
    environment["TESSEL_BUNDLE"] = copy;
    for (const auto& outcome : {run({program}, payload), tessel({"push", "--bundle", copy}, payload), tessel({"push"}),
             tessel({"push", "--bundle=/nowhere"}), tessel({"server", "list"}), tessel({"token", "has", "http://h"})}) {
        EXPECT_EQ(outcome.status, 70);
        EXPECT_THAT(outcome.errors, HasSubstr("Fatal error: "));
        EXPECT_EQ(outcome.output, "");
    }
    environment["TESSEL_BUNDLE"] = "";
    EXPECT_EQ(tessel({"token", "has", "http://h"}).status, 1);
    EXPECT_EQ(tessel({"server", "list", "--bundle", copy}).status, 70);
}

TEST_F(ProgramTest, ExitStatuses) {
    signIn();
    const std::string url = server.url();
    const std::pair<std::vector<std::string>, int> rows[] = {
        {{"server", "show", "demo-server"}, 0}, {{"server", "show", "other"}, 1}, {{"server", "remove", "http://h"}, 0},
        {{"server", "remove", "no url"}, 2}, {{"server", "add", "--url", "http://h"}, 2}, {{"server"}, 2}, {{}, 2},
        {{"server", "add", "--help"}, 0}, {{"--version"}, 0}, {{"token", "has", url}, 0}, {{"push"}, 0},
        {{"token", "has", "no url"}, 2}, {{"token", "has", url + "/"}, 1}, {{"token", "remove", url + "/"}, 0},
        {{"model", "nothing"}, 2}, {{"model", "decode"}, 2}, {{"model", "decode", "posts"}, 2},
        {{"model", "verify", "post"}, 2}, {{"model", "decode", "post"}, 0}, {{"push", "--jobs", "0"}, 2},
        {{"push", "--jobs", "1025"}, 2}, {{"push", "--time-limit", "0"}, 2}, {{"push", "--time-limit", "nan"}, 2},
        {{"push", "--format", "xml"}, 2}};
    for (const auto& [arguments, status] : rows) {
        const auto outcome = tessel(arguments);
        EXPECT_EQ(outcome.status, status) << testing::PrintToString(arguments) << outcome.errors;
        EXPECT_TRUE(outcome.errors.find('\n') == outcome.errors.size() - 1 || outcome.errors == "") << outcome.errors;
    }
    EXPECT_EQ(tessel({"token", "set", url}, "\r\ntoken").status, 1);
    Support::writeFile(directory / "containers/group.com.norvane.tessel/Library/Servers/damaged.json", "{");
    EXPECT_EQ(tessel({"server", "list"}).status, 3);
    for (const char* unknown : {"file:", "/keychain", "FILE:/keychain"})
        for (const char* command : {"has", "set", "remove"}) {
            environment["TESSEL_KEYCHAIN"] = unknown;
            EXPECT_EQ(tessel({"token", command, url}, "token").status, 3) << unknown << command;
        }
    environment["TESSEL_GROUP_CONTAINERS"] = "";
    EXPECT_EQ(tessel({"server", "list"}).status, 3);
}

TEST_F(ProgramTest, TheModelsOperationsOnPushes) {
    const auto& key = server.options().key;
    const std::tuple<const char*, std::string, std::string> rows[] = {  // the third stands in the answer
        {"push-payload", R"({"type":"test","post_id":"1","channel_id":"2","root_id":"3","sender_id":"4"})",
         R"("postID":"1","channelID":"2","rootID":"3","teamID":"","senderID":"4","senderName":"",)"},
        {"push-is-shown", R"({"payload":{"type":"message","channel_id":"c"},"channelID":"c"})", "true"},
        {"push-is-cleared", R"({"payload":{"type":"message","post_id":"r"},"clear":)"
                            R"({"type":"clear","root_id":"r","is_crt_enabled":true}})", "true"},
        {"verify", R"({"token":")" + key.token("a", "d") + R"(","publicKey":")" + key.publicKey() +
                       R"(","ackID":"a","deviceToken":"d"})", R"("ok")"},
        {"avatar-url", R"({"payload":{"type":"message"},"server":"a b"})", R"({"error":"server: expected a URL"})"},
        {"content-unverified", R"({"content":{"badge":3,"sound":"s","userInfo":{"a":1}},"text":"x"})",
         R"("badge":3,"sound":"s","userInfo":{"a":1,"verified":"false"})"},
        {"content-configure", R"({"content":{}})", R"({"error":"content.userInfo: no push payload: )"},
        {"content-apply", R"({"content":{},"message":{"sender_id":5}})", R"({"error":"message.sender_id: expected a )"},
        {"content-apply", R"({"content":{}})", R"({"error":"message: missing"})"},
        {"intent", R"({"payload":{"type":"message"},"content":{"body":"b"},"avatarBytes":0})",
         R"("imageBytes":0},"conversationIdentifier":"","content":"b")"}};
    for (const auto& [operation, input, part] : rows) expectAnswer({"model", operation}, input, part);
    EXPECT_EQ(tessel({"model", "push-payload"}, "nope\n[]\n{\"type\":\"other\"}\n").output,
              "{\"error\":\"not valid JSON: an unknown literal\"}\n{\"error\":\"expected an object\"}\nnull\n");
}

TEST_F(ProgramTest, TheModelsOperationsOnEntities) {
    const std::string post =
        R"({"id":"p","channel_id":"c","root_id":"","user_id":"u","create_at":1,"update_at":1,"edit_at":0,)"
        R"("delete_at":0,"is_pinned":false,"message":":b: :a:","type":"system_add_to_team","props":{"username":"ann",)"
        R"("addedUsername":"bob","addedUserId":"v","attachments":[{"text":"t"}]},"pending_post_id":"",)"
        R"("reply_count":0})";
    const std::string channel =
        R"({"id":"c","team_id":"","type":"D","name":"u__v","display_name":"D","purpose":"","header":"","create_at":1,)"
        R"("delete_at":0,"last_post_at":0,"last_root_post_at":0,"total_msg_count":0,"total_msg_count_root":0})";
    const std::string event = R"({"kind":"addedToTeam","isArrival":true,"subject":{"id":"v","username":"bob"},)"
                              R"("actor":{"id":"u","username":"ann"}})";
    const std::string user = R"({"id":"u","username":"ann","nickname":"","first_name":"Ann","last_name":"Lee"})";
    const std::string member = R"({"member":{"channel_id":"c","last_viewed_at":0,"msg_count":0,"msg_count_root":0,)"
        R"("mention_count":0,"mention_count_root":0,"notify_props":{"desktop_notification_sound":"x"}})";
    const std::string settings = member + R"(,"userNotifyProps":{"push":"all"},"edits":{)";
    const std::string said = std::string(post).replace(post.find("system_add_to_team"), 18, "");
    const std::string decision = R"({"post":)" + said + R"(,"event":{"channelType":"D"},"context":)" + member +
        R"(,"currentUser":{"id":"v","username":"bob","nickname":"","first_name":"","last_name":""},"status":)";
    const std::string reactions = R"([{"user_id":"u","post_id":"p","emoji_name":"+1","create_at":1}])";
    const std::string summaries = R"([{"emojiName":"+1","count":1,"includesCurrentUser":true}])";
    const std::string preferences = R"([{"category":"display_settings","name":"name_format","value":"full_name"}])";
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"post-facts", R"({"post":)" + post + R"(,"userID":"v"})",
         R"("emojiNames":["a","b"],"referencedUserIDs":["u","v"],"systemEvent":)" + event + '}'},
        {"system-event", post, event}, {"channel-title", R"({"channel":)" + channel +
         R"(,"currentUserID":"u","peerNames":{"v":"Bob"}})", R"({"directPeerID":"v","title":"Bob"})"},
        {"name-format", R"({"serverSetting":"x","locked":false,"preferences":)" + preferences + '}', R"("full_name")"},
        {"display-name", R"({"user":)" + user + R"(,"format":"nickname_full_name"})", R"("Ann Lee")"},
        {"display-name", R"({"user":)" + user + R"(,"format":"x"})", R"({"error":"format: expected one of )"},
        {"collapsed-threads", R"({"serverSetting":null,"preferences":[]})", "false"},
        {"custom-status-expired", R"({"customStatus":{"expires_at":"2026-11-23T01:00:00+01:00"},"at":)"
                                  R"("2026-11-23T00:00:00Z"})", "true"},
        {"attachment-rows", R"({"fields":[{"value":1}]})", R"([[{"title":"","value":"1","short":false}]])"},
        {"channel-settings", settings + R"("push":"none","ignoresChannelMentions":true,"isMuted":true}})",
         R"({"settings":{"desktop":"default","push":"none","ignoresChannelMentions":true,"isMuted":true,)"
         R"("accountDesktop":"mention","accountPush":"all"},"changes":{"ignore_channel_mentions":"on","mark_unread":)"},
        {"channel-settings", settings + R"("desktop":"All"}})", R"({"error":"edits.desktop: expected one of )"},
        {"channel-settings", settings + R"("accountPush":"all"}})", R"({"error":"edits.accountPush: cannot be)"},
        {"conversation-visibility", R"({"channel":)" + channel + R"(,"currentUserID":"v","shown":true})",
         R"({"category":"direct_channel_show","name":"u","value":"true"})"},
        {"server-address", R"({"text":" H/"})", R"("https://h")"}, {"server-address", R"({"text":"/"})", "null"},
        {"decide", decision + R"("away"}})", R"({"notify":{"title":"Direct Message","body":"@Someone: :b: :a:",)"
                                             R"("isSilent":false,"sound":"x","opensPermalink":false}})"},
        {"decide", decision + R"("dnd"}})", R"({"skip":"userStatus","status":"dnd"})"},
        {"decide", R"({"post":)" + post + R"(,"context":{"currentUser":{"id":5}}})",
         R"({"error":"context.currentUser.id: expected a )"}, {"mention-keys", "{}", R"({"error":"id: missing"})"},
        {"mention-keys", user, R"([{"key":"@ann","caseSensitive":false}])"},
        {"mention-matches", R"({"text":"Hi @ann!","key":"@Ann","caseSensitive":false})", "true"},
        {"mention-matches", R"({"text":"","key":""})", R"({"error":"caseSensitive: missing"})"},
        {"desktop-sound", member + '}', R"({"enabled":true,"sound":"x"})"},
        {"desktop-sound", R"({"user":{"id":"u"}})", R"({"error":"user.username: missing"})"},
        {"timeline", R"({"posts":[)" + said + R"(],"reactions":{"p":)" + reactions + R"(},"currentUserID":"u",)"
                     R"("failedPostIDs":{"p":"No"},"calendar":{"timeZone":"Asia/Kolkata"}})",
         R"([{"id":"date--19800","date":-19800000},{"id":"p","message":{"postID":"p","reactions":)" + summaries +
         R"(,"isContinuation":false,"delivery":{"failed":"No"},"showsThreadFooter":false,"isOwn":true}}])"},
        {"timeline", R"({"posts":[)" + said + R"(],"lastViewedAt":0,"showsThreadFooters":true,"calendar":{}})",
         R"([{"id":"date-0","date":0},{"id":"new-messages","newMessages":true},{"id":"p","message":{"postID":"p",)"
         R"("reactions":[],"isContinuation":false,"delivery":"sent","showsThreadFooter":true,"isOwn":false}}])"},
        {"timeline", R"({"posts":[{"id":1}]})", R"({"error":"posts[0].id: expected a )"}, {"timeline", "{}", "[]"},
        {"timeline", R"({"calendar":{"timeZone":"/UTC"}})", R"({"error":"calendar.timeZone: expected the name of a )"},
        {"reactions", R"({"currentUserID":"u","reactions":)" + reactions + "}", summaries}, {"reactions", "{}", "[]"},
        {"device-id", R"({"bundleID":"a.dev","token":"0AfF"})", R"("apple_rnbeta-v20:0aff")"},
        {"device-id", R"({"bundleID":"a.dev.b","token":""})", R"("apple_rn-v20:")"},
        {"device-id", R"({"bundleID":"","token":"0af"})", R"({"error":"token: expected hexadecimal, two digits a )"},
        {"device-id", R"({"bundleID":"","token":"0x"})", R"({"error":"token: )"}};
    for (const auto& [operation, input, part] : rows) expectAnswer({"model", operation}, input, part);
    expectAnswer({"model", "decode", "channel"}, channel, channel);
    expectAnswer({"model", "decode", "client-config"}, R"({"SiteURL":"a b","EnableSignInWithEmail":"true"})",
                 R"({"siteURL":null,"siteName":"",)");
    expectAnswer({"model", "decode", "post"}, "{\"props\":[]}", R"({"error":"props: expected an object"})");
}

TEST_F(ProgramTest, TheModelsOperationOnTheSidebar) {
    const auto both = [](const std::string& json) {  // of "z" and of "ä"
        return '[' + json + ',' + std::regex_replace(json, std::regex("\"z\""), "\"ä\"") + ']';
    };
    const std::string category = R"({"id":"s","team_id":"t","type":"favorites","display_name":"F","sorting":"alpha",)"
                                 R"("muted":false,"collapsed":true,"channel_ids":["z","ä","no"]})";
    const std::string input = R"({"currentUserID":"u","categories":[)" + category + R"(],"channels":)" +
        both(R"({"id":"z","team_id":"","type":"O","name":"","display_name":"z","purpose":"","header":"","create_at":1,)"
             R"("delete_at":0,"last_post_at":0,"last_root_post_at":0,"total_msg_count":0,"total_msg_count_root":0})") +
        R"(,"members":)" + both(R"({"channel_id":"z","last_viewed_at":0,"msg_count":0,"msg_count_root":0,)"
                                R"("mention_count":0,"mention_count_root":0,"notify_props":{}})");
    const std::string row = R"(","isUnread":false,"mentionCount":0,"isFavorite":true,"isClosed":false})";
    const std::string z = R"({"channelID":"z","title":"z)" + row, a = R"({"channelID":"ä","title":"ä)" + row;
    const std::string start = R"([{"category":)" + category + R"(,"channels":[)";
    const std::pair<std::string, std::string> rows[] = {
        {input + '}', start + a + ',' + z + R"(],"visible":[]}])"}, {"{}", "[]"},
        {input + R"(,"locale":"sv","selectedChannelID":"z"})", start + z + ',' + a + R"(],"visible":["z"]}])"},
        {input + R"(,"locale":"xx"})", R"({"error":"locale: expected the tag of a language that )"},
        {R"({"members":[{}]})", R"({"error":"members[0].channel_id: missing"})"}};
    for (const auto& [json, answer] : rows) expectAnswer({"model", "sidebar"}, json, answer);
}

TEST_F(ProgramTest, TheModelsOperationsOnReceiptsAndDialogs) {
    const std::string summary = R"({"channel_type":"O","read":2,"total":1})", own = R"(,"isOwn":true})";
    const std::string element = R"({"name":"n","display_name":"","type":"text","subtype":"email","default":"5",)"
        R"("placeholder":"","help_text":"","optional":false,"min_length":2,"max_length":3,"options":[],)"
        R"("data_source_url":""})";
    const std::string dialog = R"({"url":"","dialog":{"title":"","elements":[)" + element + R"(],"state":"",)"
        R"("callback_id":"","introduction_text":"","submit_label":"","notify_on_cancel":false}})";
    const std::string entry = R"({"element":)" + element + R"(,"value":)";
    const std::tuple<const char*, std::string, std::string> rows[] = {
        {"read-receipt-mark", R"({"state":{"summary":)" + summary + '}' + own,
         R"({"progress":{"read":2,"total":1},"isInteractive":true})"}, {"read-receipt-mark", "{}", "null"},
        {"read-receipt-mark", R"({"state":null)" + own, R"({"loading":true,"isInteractive":false})"},
        {"read-receipt-mark", R"({"state":"failed")" + own, R"({"failed":true,"isInteractive":true})"},
        {"read-receipt-mark", R"({"state":"x"})", R"({"error":"state: expected one of \"acknowledged\", )"},
        {"read-receipt-mark", R"({"state":{"summary":{"channel_type":5}}})", R"({"error":"state.summary.channel_type)"},
        {"read-receipt-mark", R"({"state":{}})", R"({"error":"state.summary: missing"})"},
        {"dialog-validate", entry + R"("a"})", R"({"tooShort":2})"}, {"dialog-validate", entry + R"("a@b"})", "null"},
        {"dialog-validate", entry + R"("abcd"})", R"({"tooLong":3})"},
        {"dialog-validate", entry + "null}", R"("required")"},
        {"dialog-validate", entry + R"("ab"})", R"("invalidEmail")"}, {"dialog-defaults", dialog, R"({"n":"5"})"},
        {"dialog-validate", R"({"element":{"name":"n"}})", R"({"error":"element.display_name: missing"})"},
        {"dialog-defaults", R"({"url":"","dialog":{"elements":[5]}})", R"({"error":"dialog.elements[0]: expected an )"},
        {"dialog-submission", R"({"dialog":)" + dialog + R"(,"entries":{"n":" a"}})", R"({"n":" a"})"},
        {"dialog-submission", R"({"dialog":)" + dialog + '}', "{}"},
        {"dialog-submission", R"({"dialog":)" + dialog + R"(,"entries":{"n":5}})", R"({"error":"entries.n: expected)"},
        {"dialog-submission", R"({"dialog":{"url":""}})", R"({"error":"dialog.dialog: missing"})"}};
    for (const auto& [operation, input, part] : rows) expectAnswer({"model", operation}, input, part);
    const std::pair<const char*, std::string> types[] = {
        {"read-receipt-summary", summary}, {"interactive-dialog", dialog},
        {"read-receipt-reader", R"({"id":"","username":"","name":"","read_at":1})"},
        {"read-receipt-details", R"({"channel_type":"","read":0,"total":0,"readers":[],"unread":[]})"},
        {"read-receipt-read-result", R"({"post_ids":[],"unavailable_post_ids":[]})"},
        {"dialog-submit-result", R"({"error":"","errors":{}})"}};
    for (const auto& [type, json] : types) expectAnswer({"model", "decode", type}, json, json.substr(1));
}

}  // namespace
