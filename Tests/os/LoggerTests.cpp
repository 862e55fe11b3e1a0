#include "os/Logger.h"

#include <cstdlib>

#include <dlfcn.h>
#include <sched.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include "Support/Support.h"

using namespace std::string_literals;

namespace {

TEST(Logger, WritesOneLineToStandardError) {
    ::setenv("TESSEL_LOG", "stderr", 1);
    const os::Logger logger("com.example", "push");
    testing::internal::CaptureStderr();
    logger.log("a ", os::Public{"b\n\x1B[2J\u202E\xFF\0"s}, os::Private{"canary"});
    logger.error(os::Private{""});
    os::setLogSink([](const auto&) { throw std::bad_alloc(); });
    EXPECT_NO_THROW(logger.error("b"));
    os::setLogSink({});
    ::unsetenv("TESSEL_LOG");
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "default com.example push: a b\\u{a}\\u{1b}[2J\\u{202e}\uFFFD\\u{0}<private>\n"
              "error com.example push: <private>\na line of the log is left out: there is not enough memory\n");
}

TEST(Logger, WritesToTheJournal) {
    const Support::TemporaryDirectory directory;
    ASSERT_TRUE(::dlopen("libsystemd.so.0", RTLD_NOW)) << "which the changed root does not have";
    const auto isWritten = [&](const std::string& expected) {
        const int journal = ::socket(AF_UNIX, SOCK_DGRAM, 0);
        const sockaddr_un address{AF_UNIX, "/run/systemd/journal/socket"};
        if ((::geteuid() != 0 && ::unshare(CLONE_NEWUSER) != 0) || ::chroot(directory.path().c_str()) != 0 ||
            ::chdir("/") != 0 || !std::filesystem::create_directories("/run/systemd/journal") ||
            ::bind(journal, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) return false;
        os::Logger("com.example", "push").error("a\n", os::Private{"canary"});
        std::string entry(expected.size(), '?');
        return ::recv(journal, entry.data(), entry.size(), MSG_DONTWAIT) > 0 && entry == expected;
    };
    const auto entry = "MESSAGE\n\x0B\0\0\0\0\0\0\0a\n<private>\nPRIORITY=3\nSUBSYSTEM=com.example\nCATEGORY=push\n"s;
    EXPECT_EXIT(std::_Exit(isWritten(entry) ? 0 : 1), testing::ExitedWithCode(0), "");
}

}  // namespace
