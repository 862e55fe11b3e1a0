#pragma once

#include <cstdlib>
#include <map>
#include <sstream>

#include "DemoServer/Server.h"
#include "Support/Support.h"

struct Outcome {
    int status = -1;
    std::string output;
    std::string errors;

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

struct ProgramTest : testing::Test {
    Support::TemporaryDirectory directory;
    DemoServer::Server server;
    std::map<std::string, std::string> environment = {
        {"TESSEL_GROUP_CONTAINERS", (directory / "containers").string()},
        {"TESSEL_KEYCHAIN", "file:" + (directory / "keychain").string()}, {"LC_ALL", "C"}};

    /// Runs a program to its end, its input being a text.
    Outcome run(const std::vector<std::string>& command, const std::string& input = "") {
        Support::writeFile(directory / "in", input);
        std::string line = "cd '" + directory.path().string() + "' && exec env -u HOME -u XDG_DATA_HOME -u LANGUAGE "
                           "-u LANG -u TESSEL_BUNDLE";
        for (const auto& [name, value] : environment) line += " '" + name + '=' + value + '\'';
        for (const auto& argument : command) line += " '" + argument + '\'';
        const int status = std::system((line + " < in > out 2> err").c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), Support::readFile(directory / "out"),
                Support::readFile(directory / "err")};
    }
    Outcome tessel(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), TESSEL_PROGRAM);
        return run(arguments, input);
    }
    Outcome push(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), "push");
        return tessel(std::move(arguments), input);
    }

    void signIn() {
        const auto& options = server.options();
        const auto added = tessel({"server", "add", "--url", server.url(), "--id", options.serverID, "--signing-key",
                                   options.key.publicKey(), "--user", "me", "--device-token", options.deviceToken});
        ASSERT_EQ(added.errors, "");
        ASSERT_EQ(tessel({"token", "set", server.url()}, options.sessionToken + "\r\nrest").status, 0);
    }

    std::string message(const std::string& post = "post-1") const {
        return server.push({.postID = post, .channelID = "channel-1", .senderID = "alice", .isIDLoaded = true,
                            .title = "Alice", .body = "A message"}) + '\n';
    }
};
