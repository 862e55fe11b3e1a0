#include "Tools/ProgramFixture.h"

using namespace std::string_literals;
using namespace testing;
using enum DemoServer::Endpoint;

namespace {

struct SecrecyTest : ProgramTest {
    /// Private texts are canaries. The demo server's signatures start as JSON in base64 does.
    const Matcher<const std::string&> tellsNothing = Not(AnyOf(
        HasSubstr("canary"), HasSubstr("eyJ"), HasSubstr("PNG"), HasSubstr(server.options().sessionToken),
        HasSubstr(server.options().deviceToken), HasSubstr(server.options().key.publicKey())));
};

TEST_F(SecrecyTest, WhateverFailsTheLogTellsNothingAndFilesAreForTheUserAlone) {
    const auto& key = server.options().key;
    const auto containers = directory / "containers", keychain = directory / "keychain";
    const auto record = containers / "group.com.norvane.tessel/Library/Servers/demo-server.json";
    const std::string damaged = R"({"url":"canary","userID":canary)", url = server.url(), padding(4096, 'x'), otherKey =
        R"({"url":"http://h","serverID":"s","signingKey":"canary","userID":"canary","deviceToken":"canary"})";
    const auto answer = [&](DemoServer::Endpoint endpoint, DemoServer::Behavior behavior) {
        return [=, this](auto&) { server.setBehavior(endpoint, behavior); };
    };
    const auto signature = [](const std::string& text) { return [=](auto& push) { push.signature = text; }; };
    std::vector<std::string> command = {"push"};
    const std::pair<const char*, std::function<void(DemoServer::Push&)>> rows[] = {  // the last changes the command
        {"", [](auto&) {}}, {"unknown server or without a signature", [](auto& push) { push.serverID = "canary"; }},
        {"server of a push failed: <private>", [&](auto&) { Support::writeFile(record, damaged); }},
        {"server of a push failed: <private>", [&](auto&) { remove(record), create_directory(record); }},
        {"verification: malformed", signature(key.sign(R"({"alg":"ES256"})", R"(["canary"])"))},
        {"verification: invalidKey", [&](auto&) { Support::writeFile(record, otherKey); }},
        {"verification: unsupportedAlgorithm", signature(key.sign(R"({"alg":"canary"})", "{}"))},
        {"verification: invalidSignature", signature(DemoServer::SigningKey().token("ack", "canary"))},
        {"verification: ackIDMismatch", signature(key.token("canary", "canary"))},
        {"verification: deviceMismatch", signature(key.token("ack", "canary"))},
        {"token failed: The keychain could not be read", [&](auto&) { remove(keychain), create_directory(keychain); }},
        {"token failed: Unable to decode", [&](auto&) { Support::writeFile(keychain, "canary" + padding); }},
        {"it is to be file:PATH\nerror com.norvane.tessel Push: Reading the session token failed: One or more parameters",
         [&](auto&) { environment["TESSEL_KEYCHAIN"] = "canary:canary"; }},
        {"Acknowledging a push failed: <private>", [&](auto&) { tessel({"token", "set", url}, "canary"); }},
        {"Acknowledging a push failed: <private>", answer(acknowledgement, {.status = 500, .body = "canary"})},
        {"Acknowledging a push failed: <private>", answer(acknowledgement, {.body = R"({"message":["canary"]})"})},
        {"Acknowledging a push failed: <private>", answer(acknowledgement, {.body = R"({"message":canary)"})},
        {"Acknowledging a push failed: <private>", answer(acknowledgement, {.location = "http://canary@127.0.0.1:1/"})},
        {"avatar failed: The network connection", answer(userPicture, {.body = "canary", .dropAfter = 100})},
        {"avatar failed: The address is not", answer(userPicture, {.location = "ftp://canary:canary@h/canary"})},
        {"stays a plain notification", [&](auto&) { command.emplace_back("--no-donations"); }}};
    for (const auto& row : rows) {
        for (const auto& old : {containers, keychain}) remove_all(old);
        environment["TESSEL_KEYCHAIN"] = "file:" + keychain.string();
        for (const auto endpoint : {acknowledgement, userPicture}) server.setBehavior(endpoint, {});
        const mode_t mask = ::umask((&row - rows) % 2 ? 077 : 0);
        signIn();
        ::umask(mask);
        EXPECT_EQ(Support::mode(keychain), 0600u);
        for (const auto& made : std::filesystem::recursive_directory_iterator(containers))
            EXPECT_EQ(Support::mode(made), made.is_directory() ? 0700u : 0600u) << made;
        server.addPost("post-1", {{"message", "canary"}, {"channel_name", "canary"}});
        DemoServer::Push sent{.postID = "post-1", .channelID = "c", .senderID = "canary", .senderName = "canary",
                              .isIDLoaded = true, .title = "canary", .subtitle = "canary", .body = "canary"};
        row.second(sent);
        const auto log = tessel(command, server.push(sent)).errors;
        EXPECT_THAT(log + tessel({"server", "show", "demo-server"}).errors +
                    tessel({"token", "set", url}, server.options().sessionToken).errors, tellsNothing) << row.first;
        EXPECT_THAT(log, HasSubstr(row.first));
        EXPECT_EQ(log == "", row.first == ""s);
    }
}

TEST_F(SecrecyTest, SecretsAreNeitherPrintedNorOnACommandLine) {
    signIn();
    const std::string url = server.url();
    std::string seen = tessel({"server", "list"}).output + tessel({"token", "has", url}).output;
    // Arguments in the wrong place are not repeated: one might be a secret.
    seen += tessel({"token", "set", url, "canary"}).errors + tessel({"token", "set", url, "--token=canary"}).errors;
    seen += tessel({"server", "remove", "http://me:canary@h /"}).errors;
    seen += tessel({"model", "verify"}, R"({"token":"canary","publicKey":["canary"]})").output;
    EXPECT_THAT(seen, tellsNothing);

    /// The command line of `program` in the end, while it waits for more input.
    const auto commandLine = [&](const char* program, std::vector<std::string> arguments, const std::string& input) {
        const auto script = R"(rm -f more; mkfifo more; "$@" < more > delivered & exec 3> more; cat >&3; )"
                            R"(until test /proc/$!/exe -ef "$0" && grep -qa . /proc/$!/cmdline; do :; done; )"
                            R"(cat /proc/$!/cmdline; exec 3>&-; wait)"s;
        arguments.insert(arguments.begin(), {"timeout", "60", "sh", "-c", script, program, TESSEL_PROGRAM});
        return run(arguments, input).output;
    };
    EXPECT_EQ(commandLine(TESSEL_EXTENSION, {"push"}, message()), "tessel push\0"s);
    EXPECT_EQ(commandLine(TESSEL_PROGRAM, {"token", "set", url}, server.options().sessionToken),
              TESSEL_PROGRAM + "\0token\0set\0"s + url + '\0');
}

}  // namespace
