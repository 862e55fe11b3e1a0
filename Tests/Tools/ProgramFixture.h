#pragma once

#include <cstdlib>
#include <map>
#include <sstream>

#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "DemoServer/Server.h"
#include "Support/Support.h"

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;
    long peak = 0;  ///< its memory in KiB

    /// The lines of the output, each a JSON object.
    std::vector<Foundation::Dictionary> lines() const {
        std::vector<Foundation::Dictionary> lines;
        std::istringstream stream(output);
        for (std::string line; std::getline(stream, line);) lines.push_back(Support::dictionary(line));
        return lines;
    }
};

inline std::string contentText(const Foundation::Dictionary& line, const char* key) {
    return Foundation::textOrEmpty(*line.at("content").dictionary(), key);
}

/// The programs as processes of their own, with their own records and secrets, beside a chat server.
struct ProgramTest : testing::Test {
    Support::TemporaryDirectory directory;
    DemoServer::Server server;
    std::map<std::string, std::string> environment = {
        {"TESSEL_GROUP_CONTAINERS", (directory / "containers").string()},
        {"TESSEL_KEYCHAIN", "file:" + (directory / "keychain").string()}, {"TESSEL_LOG", "stderr"}, {"LC_ALL", "C"},
        {"no_proxy", "*"}};

    /// The programs come to this process when the shell that starts them has left: a child of its own would be taken
    /// to have needed the memory that this process had when it was made.
    ProgramTest() { ::prctl(PR_SET_CHILD_SUBREAPER, 1); }

    /// Starts a program, its files being in the directory; it is the next child of this process to be waited for.
    void start(const std::vector<std::string>& command, const std::string& input, const std::string& output) {
        std::string line = "cd '" + directory.path().string() + "'; exec env -u HOME -u XDG_DATA_HOME -u LANGUAGE "
                           "-u LANG -u TESSEL_BUNDLE";
        for (const auto& [name, value] : environment) line += " '" + name + '=' + value + '\'';
        for (const auto& argument : command) line += " '" + argument + '\'';
        // Behind a command of its own the shell would wait for a program that has already ended.
        line += " < " + input + " > " + output + " 2> err & exec echo $! > process";
        ASSERT_EQ(std::system(line.c_str()), 0);
    }
    /// Waits for its end; the status, or the signal, which is negative.
    Outcome ended() {
        int status = 0;
        rusage usage{};
        EXPECT_GT(::wait4(std::stoi(Support::readFile(directory / "process")), &status, 0, &usage), 0);
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), "", Support::readFile(directory / "err"),
                usage.ru_maxrss};
    }
    /// Runs a program to its end, its input being a text.
    Outcome run(const std::vector<std::string>& command, const std::string& input = "") {
        Support::writeFile(directory / "in", input);
        start(command, "in", "out");
        auto outcome = ended();
        outcome.output = Support::readFile(directory / "out");
        return outcome;
    }
    Outcome tessel(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), TESSEL_PROGRAM);
        return run(arguments, input);
    }

    /// One answer that holds this part, and none for blank lines.
    void expectAnswer(std::vector<std::string> arguments, const std::string& input, const std::string& part) {
        const auto outcome = tessel(std::move(arguments), input + "\r\n \n");
        EXPECT_THAT(outcome.output, testing::HasSubstr(part));
        EXPECT_EQ(outcome.status, part.starts_with("{\"error\"") ? 1 : 0);
        EXPECT_EQ(outcome.output.find('\n'), outcome.output.size() - 1);
    }

    void signIn() { signIn(server); }
    void signIn(const DemoServer::Server& to) {
        const auto& options = to.options();
        const auto added = tessel({"server", "add", "--url", to.url(), "--id", options.serverID, "--signing-key",
                                   options.key.publicKey(), "--user", "me", "--device-token", options.deviceToken});
        ASSERT_EQ(added.errors, "");
        ASSERT_EQ(tessel({"token", "set", to.url()}, options.sessionToken + "\r\nrest").status, 0);
    }

    std::string message(const std::string& post = "post-1") const {
        return server.push({.postID = post, .channelID = "channel-1", .senderID = "alice", .isIDLoaded = true,
                            .title = "Alice", .body = "A message"}) + '\n';
    }
};
