#pragma once

#include "Desktop/Peers.h"
#include "Security/PrivateSession.h"
#include "Tools/ProgramFixture.h"

/// The desktop's program on a bus of its own, beside a chat server to which a user is signed in.
struct DesktopTest : ProgramTest {
    PrivateSession session{directory / "session", PrivateSession::Keyring::none};
    std::filesystem::path spool = directory / "state/tessel/spool";

    DesktopTest() {
        environment.emplace("XDG_STATE_HOME", (directory / "state").string());
    }
    void SetUp() override { signIn(); }
    void TearDown() override {
        kill(SIGKILL);
        if (HasFailure() && exists(directory / "err")) std::cerr << errors();
    }

    /// Starts `tessel-desktop`, one at a time.
    void desktop(std::vector<std::string> arguments, const std::string& input = "") {
        arguments.insert(arguments.begin(), TESSEL_DESKTOP);
        Support::writeFile(directory / "in", input);
        ASSERT_NO_FATAL_FAILURE(start(arguments, "in", "out"));
        process_ = std::stoi(Support::readFile(directory / "process"));
    }
    void show(const std::string& pushes) { desktop({"show"}, pushes); }
    /// Its status once it has ended: by itself, or with a signal.
    int end() {
        int status = 0;
        if (const pid_t process = std::exchange(process_, 0); process != 0) ::waitpid(process, &status, 0);
        return WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    }
    int kill(int signal) {
        if (process_ != 0) ::kill(process_, signal);
        return end();
    }
    bool hasEnded() const {
        siginfo_t info{};
        return ::waitid(P_PID, process_, &info, WEXITED | WNOHANG | WNOWAIT) == 0 && info.si_pid != 0;
    }
    /// Has another program be the extension: a shell script, whose $5 is the push's file.
    void extend(const std::string& script) {
        const auto program = directory / "other.appex/Contents/MacOS/TesselMacNotificationService";
        Support::writeFile(program, script);
        std::filesystem::permissions(program, std::filesystem::perms::owner_all);
        environment["TESSEL_BUNDLE"] = (directory / "other.appex").string();
    }
    static std::vector<std::string> bodies(const NotificationServer& notifications) {
        std::vector<std::string> bodies;
        for (const auto& one : notifications.shown()) bodies.push_back(one.body);
        return bodies;
    }

    std::string errors() const { return Support::readFile(directory / "err"); }
    bool hasLogged(std::string_view text) const { return eventually([&] { return errors().find(text) != std::string::npos; }); }

    /// The pushes that are kept: the extensions of their files.
    std::vector<std::string> kept() const {
        std::vector<std::string> kept;
        if (exists(spool))
            for (const auto& entry : std::filesystem::recursive_directory_iterator(spool))
                if (entry.is_regular_file()) kept.push_back(entry.path().extension());
        return kept;
    }
    /// A message of a channel, with its text.
    std::string message(const std::string& body, const std::string& channel = "c", DemoServer::Push push = {}) const {
        push.postID = "post-" + body, push.channelID = channel, push.senderID = "ada";
        push.title = channel, push.body = body, push.threadID = channel;
        return server.push(push) + '\n';
    }

private:
    pid_t process_ = 0;
};
