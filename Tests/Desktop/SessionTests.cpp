#include <set>

#include <gdk-pixbuf/gdk-pixbuf.h>

#include "Desktop/DesktopFixture.h"

// A whole desktop session: the bus starts what is called, dunst shows it on a screen, the session token is in a keyring.

using testing::HasSubstr;

namespace {

/// A screen that nobody sees, which the environment then names.
class Screen {
public:
    Screen() {
        output_ = ::popen("echo $$; exec setpriv --pdeathsig TERM Xvfb -displayfd 1 -screen 0 640x480x24 -nolisten tcp 2> /dev/null", "re");
        int number = -1;
        if (output_ == nullptr || std::fscanf(output_, "%d %d", &process_, &number) != 2) throw std::runtime_error("no screen");
        ::setenv("DISPLAY", (":" + std::to_string(number)).c_str(), 1);
    }
    ~Screen() {
        ::kill(process_, SIGTERM);
        ::pclose(output_);
    }
    Screen(Screen&&) = delete;

private:
    FILE* output_ = nullptr;
    pid_t process_ = 0;
};

/// All that a session's bus has started ends with it, and comes to this process, as its last children.
struct Reaper {
    ~Reaper() {
        while (::wait(nullptr) > 0) continue;
    }
};

struct SessionLongTest : ProgramTest, testing::WithParamInterface<int> {
    Reaper reaper;
    Screen screen;
    PrivateSession session{directory / "session", PrivateSession::Keyring::unlocked};
    PushDistributor distributor{GetParam()};

    /// Has the bus start a program for who calls this name; its output goes into a file of the directory.
    void offer(const std::string& name, const std::string& command, const std::string& file) {
        std::string script = "echo >> '" + (directory / (file + ".starts")).string() + "'; exec env";
        for (const auto& [key, value] : environment) script += " '" + key + '=' + value + '\'';
        Support::writeFile(directory / ("session/" + file), script + ' ' + command + " >> '" + (directory / file).string() + "' 2>&1\n");
        Support::writeFile(directory / ("session/services/" + name + ".service"),
                           "[D-BUS Service]\nName=" + name + "\nExec=/bin/sh " + (directory / ("session/" + file)).string() + '\n');
    }
    SessionLongTest() {
        environment.erase("TESSEL_KEYCHAIN");
        environment.emplace("XDG_STATE_HOME", (directory / "state").string());
        Support::writeFile(directory / "pick", "#!/bin/sh\ngrep Reply\n");
        std::filesystem::permissions(directory / "pick", std::filesystem::perms::owner_all);
        Support::writeFile(directory / "dunstrc", "[global]\norigin = top-left\noffset = 20x20\nwidth = 400\nmax_icon_size = 64\nfont = DejaVu Sans 12\n"
                           "dmenu = " + (directory / "pick").string() + "\n[urgency_normal]\ntimeout = 0\n");
        offer("org.freedesktop.Notifications", "dunst -print -conf '" + (directory / "dunstrc").string() + '\'', "dunst");
        offer(PushDistributor::service, TESSEL_DESKTOP " --idle 0.3", "service");
        offer("com.norvane.tessel", TESSEL_CLIENT " '" + (directory / "calls").string() + '\'', "client");
        signIn();
    }
    void TearDown() override {
        if (HasFailure())
            for (const char* file : {"dunst", "service", "client", "calls"}) std::cerr << file << ":\n" << text(file);
    }

    std::string text(const char* file) const { return exists(directory / file) ? Support::readFile(directory / file) : ""; }
    /// Whether it comes to hold this.
    bool tells(const char* file, const std::string& part) const {
        return eventually([&] { return text(file).find(part) != std::string::npos; });
    }
    std::string displayed() { return run({"dunstctl", "count", "displayed"}).output; }
};

/// How many colours a PNG file's pixels have.
std::size_t colorsOf(const std::filesystem::path& file) {
    const std::unique_ptr<GdkPixbuf, void (*)(void*)> picture(gdk_pixbuf_new_from_file(file.c_str(), nullptr), g_object_unref);
    if (!picture) return 0;
    std::set<std::vector<guchar>> colors;
    const auto* pixels = gdk_pixbuf_read_pixels(picture.get());
    const int channels = gdk_pixbuf_get_n_channels(picture.get());
    for (int y = 0; y < gdk_pixbuf_get_height(picture.get()); ++y)
        for (int x = 0; x < gdk_pixbuf_get_width(picture.get()); ++x) {
            const auto* pixel = pixels + y * gdk_pixbuf_get_rowstride(picture.get()) + x * channels;
            colors.emplace(pixel, pixel + 3);
        }
    return colors.size();
}

TEST_P(SessionLongTest, PushesGoInAndAnswersComeOut) {
    // The bus starts the service, which registers.
    distributor.message("unknown", "{}");
    const auto token = distributor.token();
    const auto push = [&](const std::string& post, DemoServer::Push more = {}) {
        server.addPost(post, {{"message", "Text of " + post + " <3 🎉"}, {"channel_name", "ada"}, {"sender_id", "ada"}, {"sender_name", "ada"}});
        more.postID = post, more.channelID = "c", more.isIDLoaded = true, more.body = "A message", more.category = "CAN_REPLY";
        distributor.message(token, server.push(more));
        EXPECT_TRUE(tells("dunst", "body: 'Text of " + post + " &lt;3 🎉'"));
        EXPECT_EQ(displayed(), "1\n");
    };
    push("one");
    EXPECT_THAT(text("dunst"), testing::AllOf(HasSubstr("summary: 'ada'"), HasSubstr("category: im.received"),
                                              HasSubstr("desktop_entry: 'com.norvane.tessel'"), HasSubstr("raw_icon set: true")));
    const std::filesystem::path screenshot = TESSEL_ARTIFACTS "/session-" + std::to_string(GetParam()) + ".png";
    EXPECT_TRUE(eventually([&] { return run({"import", "-window", "root", screenshot}).status == 0 && colorsOf(screenshot) > 20; }));

    EXPECT_EQ(run({"dunstctl", "action"}).status, 0);
    EXPECT_TRUE(tells("calls", "open: channel_id=c is_crt_enabled=0 post_id=one"));
    push("two");
    EXPECT_EQ(run({"dunstctl", "context"}).status, 0);
    EXPECT_TRUE(tells("calls", "REPLY: channel_id=c is_crt_enabled=0 post_id=two"));
    EXPECT_EQ(text("client.starts"), "\n");

    push("three");
    distributor.message(token, server.push({.kind = "clear", .channelID = "other"}));
    distributor.message(token, server.push({.kind = "clear", .channelID = "c"}));
    EXPECT_TRUE(eventually([&] { return displayed() == "0\n"; }));
    EXPECT_THAT(run({"dbus-send", "--print-reply", "--dest=org.freedesktop.Notifications", "/org/freedesktop/Notifications",
                     "org.dunstproject.cmd0.NotificationListHistory"}).output, HasSubstr("Text of three"));

    // It ends when it is idle, and the bus starts it again.
    const auto starts = text("service.starts");
    EXPECT_TRUE(eventually([&] { return distributor.isServiceGone(); }));
    push("four");
    EXPECT_EQ(text("service.starts"), starts + "\n");
    EXPECT_EQ(distributor.token(distributor.tokens().size() - 1), token);
    EXPECT_THAT(text("service"), testing::StartsWith("default com.norvane.tessel Desktop: The push distributor named a token that is not known\n"));
    // Nothing secret is in the log.
    EXPECT_THAT(text("service"), testing::AllOf(Not(HasSubstr(token)), Not(HasSubstr("Text of"))));
}
INSTANTIATE_TEST_SUITE_P(Versions, SessionLongTest, testing::Values(2, 1));

}  // namespace
