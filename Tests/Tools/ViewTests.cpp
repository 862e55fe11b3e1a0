#include <regex>

#include "Tools/ProgramFixture.h"

// What `tessel view` draws, and what it refuses.

namespace {

struct ViewTest : ProgramTest {
    const std::string fixtures = TESSEL_FIXTURES;

    ViewTest() { environment["COLUMNS"] = "40"; }
};

TEST_F(ViewTest, DrawsWhatTheModelAnswers) {
    for (const std::string view : {"timeline", "sidebar"}) {
        const auto file = fixtures + view + ".json", drawing = Support::readFile(fixtures + view + ".txt");
        EXPECT_EQ(tessel({"view", view, file}).output, drawing);
        EXPECT_EQ(tessel({"view", view, "-"}, Support::readFile(file)).output, drawing);
    }
    EXPECT_EQ(tessel({"view", "timeline"}, "{}").output, "No messages.\n");
    EXPECT_EQ(tessel({"view", "sidebar"}, "{}\r\n").output, "No categories.\n");
}

TEST_F(ViewTest, DrawsWhatTheREADMEShows) {
    environment["COLUMNS"] = "60";
    const std::string checkout = fixtures + "../../", file = "examples/channel.json";
    const auto shown = file + '\n' + tessel({"view", "timeline", checkout + file}).output + '\n';
    EXPECT_THAT(Support::readFile(checkout + "README.md"),
                testing::HasSubstr(std::regex_replace(shown, std::regex("\n(?=.)"), "\n    ")));
}

TEST_F(ViewTest, IsAsWideAsItMayBe) {
    const std::string timeline = Support::readFile(fixtures + "timeline.json");
    for (const auto& [columns, drawn] : std::map<std::string, std::size_t>{
             {"39", 40}, {"41", 41}, {"100000", 120}, {"-1", 80}, {"0", 80}, {"50x", 80}, {"", 80}}) {
        environment["COLUMNS"] = columns;
        const auto output = tessel({"view", "timeline"}, timeline).output;
        const std::string label = " Monday, 23 November 2026 ", line = output.substr(0, output.find('\n'));
        EXPECT_EQ(label.size() + (line.size() - label.size()) / std::strlen("─"), drawn) << columns;
    }
}

TEST_F(ViewTest, HasColoursOnATerminalThatMayHaveThem) {
    if (!std::filesystem::exists("/dev/pts/ptmx")) GTEST_SKIP() << "there are no pseudo-terminals here";
    const auto onTerminal = [&](const std::map<std::string, std::string>& variables) {
        for (const auto& [name, value] : variables) environment[name] = value;
        const std::string command = "stty cols 42; " TESSEL_PROGRAM " view sidebar " + fixtures + "sidebar.json";
        return run({"script", "-qec", command, "/dev/null"}).output;
    };
    const std::string title = "\033[1m  \u25CF Town \u4E16\u754C\033[0m", count = "\033[1;33m12\033[0m";
    const auto colored = testing::HasSubstr(title + std::string(27, ' ') + count);
    EXPECT_THAT(onTerminal({{"NO_COLOR", ""}, {"TERM", "xterm"}}), colored);
    EXPECT_THAT(onTerminal({{"TERM", "dumb"}}), testing::Not(testing::HasSubstr("\033")));
    EXPECT_THAT(onTerminal({{"NO_COLOR", "0"}, {"TERM", "xterm"}}), testing::Not(testing::HasSubstr("\033")));
}

TEST_F(ViewTest, RefusesInOneLineWithoutTheText) {
    Support::writeFile(directory / "bad", R"({"posts":[{"id":"canary"}]})");
    const std::tuple<std::vector<std::string>, int, const char*> rows[] = {
        {{"timeline", "bad"}, 1, "bad: posts[0].channel_id: missing\n"},
        {{"sidebar", "/nowhere"}, 1, "/nowhere: No such file or directory\n"},
        {{"sidebar", "."}, 1, ".: Is a directory\n"},
        {{"sidebar"}, 1, "-: locale: expected the tag of a language that is known (BCP 47)\n"},
        {{"timeline", "-"}, 1, "-: calendar.timeZone: expected the name of a time zone\n"},
        {{"canary"}, 2, "the subcommand is unknown; --help tells which there are\n"},
        {{"--canary"}, 2, "the option is unknown; --help tells which there are\n"},
        {{}, 2, "A subcommand is required\n"},
        {{"sidebar", "a", "b"}, 2, "an argument or option was not expected; --help tells what is\n"}};
    for (const auto& [arguments, status, errors] : rows) {
        std::vector<std::string> command = {"view"};
        command.insert(command.end(), arguments.begin(), arguments.end());
        const auto outcome = tessel(command, "{\n\"locale\":\"canary\",\"calendar\":{\"timeZone\":\"canary\"}}");
        EXPECT_EQ(outcome.errors, errors);
        EXPECT_EQ(outcome.status, status);
        EXPECT_EQ(outcome.output, "");
    }
}

}  // namespace
