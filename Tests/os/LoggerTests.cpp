#include "os/Logger.h"

#include <cstdlib>

#include <gtest/gtest.h>

using namespace std::string_literals;

namespace {

TEST(Logger, WritesOneLineToStandardError) {
    ::setenv("TESSEL_LOG", "stderr", 1);
    const os::Logger logger("com.example", "push");
    testing::internal::CaptureStderr();
    logger.log("a ", os::Public{"b\n\x1B[2J\u202E\xFF\0"s}, os::Private{"canary"});
    logger.error(os::Private{""});
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "default com.example push: a b\\u{a}\\u{1b}[2J\\u{202e}\uFFFD\\u{0}<private>\n"
              "error com.example push: <private>\n");
}

}  // namespace
