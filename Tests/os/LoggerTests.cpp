#include "os/Logger.h"

#include <gtest/gtest.h>
#include <unistd.h>

using namespace std::string_literals;

namespace {

const os::Logger logger("com.example", "push");

TEST(Logger, HandsEntriesToTheSinkWithoutWhatIsPrivate) {
    std::string entries;
    os::setLogSink([&](const os::LogEntry& entry) {
        entries += entry.level == os::LogLevel::error ? "error " : "default ";
        entries += entry.subsystem + '/' + entry.category + '/' + entry.message + ';';
    });
    logger.log("push ", os::Public{"a1"}, " of ", os::Private{"canary"});
    logger.error(os::Private{""});
    os::setLogSink({});
    EXPECT_EQ(entries, "default com.example/push/push a1 of <private>;error com.example/push/<private>;");
}

TEST(Logger, WritesOneLineWhereNoJournalRuns) {
    if (::access("/run/systemd/journal/socket", W_OK) == 0) GTEST_SKIP() << "a journal runs";
    testing::internal::CaptureStderr();
    logger.log("a ", os::Public{"b\n\x1B[2J\u202E\xFF\0"s}, os::Private{"canary"});
    logger.error("c");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "default com.example push: a b\\u{a}\\u{1b}[2J\\u{202e}\uFFFD\\u{0}<private>\n"
              "error com.example push: c\n");
}

}  // namespace
