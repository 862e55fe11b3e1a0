#include "Foundation/Files.h"

#include <array>
#include <csignal>
#include <functional>

#include <sched.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Foundation/GroupContainer.h"
#include "Support/Support.h"

using namespace Foundation;
using namespace std::string_literals;
using std::filesystem::path;

namespace {

void put(const path& file, std::string_view text) { Files::AtomicWrite(file, bytes(text)).commit(); }

TEST(Files, AreReplacedWholeAndForTheUserAlone) {
    const Support::TemporaryDirectory directory;
    const path file = directory / "file";
    const mode_t mask = ::umask(0);
    Files::AtomicWrite first(file, bytes("old"));
    Support::writeFile(file, "by another in between");
    first.commit();
    { const Files::AtomicWrite uncommitted(file, bytes("new")); }

    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{4096, limit.rlim_max};
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_THROW(put(file, std::string(10'000, 'x')), CocoaError);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::signal(SIGXFSZ, handler);
    EXPECT_EQ(Support::readFile(file), "old");

    const std::string text = "new\0"s + std::string(200'000, 'x');
    put(file, text);
    ::umask(mask);
    EXPECT_EQ(Support::readFile(file), text);
    EXPECT_EQ(Support::mode(file), 0600u);
    EXPECT_THAT(Files::names(directory.path()), testing::ElementsAre("file"));
    EXPECT_GT(Support::readFile("/proc/self/status").size(), 100u) << "a file whose size is not known beforehand";
}

TEST(Files, AreReplacedWholeWhereTemporaryOnesNeedANameToo) {
    const Support::TemporaryDirectory directory;
    const auto replaces = [&] {
        if (::geteuid() != 0) ::unshare(CLONE_NEWUSER);  // there, anybody may do the next
        if (::chroot(directory.path().c_str()) != 0 || ::chdir("/") != 0) return false;
        for (const char* text : {"old", "new"}) put("file", text);  // without /proc, an open file gets no name
        const Files::AtomicWrite uncommitted("other", {});
        return Support::readFile("file") == "new" && Files::names(".").size() == 2;
    };
    EXPECT_EXIT(std::_Exit(replaces() ? 0 : 1), testing::ExitedWithCode(0), "");
    EXPECT_THAT(Files::names(directory.path()), testing::ElementsAre("file"));
}

TEST(Files, SayWhatIsWrong) {
    const Support::TemporaryDirectory directory;
    const path file = directory / "file", cut = directory / "file\0x"s;
    put(file, "");
    using Code = CocoaError::Code;
    const std::tuple<std::function<void()>, Code, int> rows[] = {
        {[&] { Files::read(directory / "missing"); }, Code::fileReadNoSuchFile, ENOENT},
        {[&] { Files::read(directory.path()); }, Code::fileReadUnknown, EISDIR},
        {[&] { Files::read(cut); }, Code::fileReadNoSuchFile, ENOENT},
        {[&] { put(directory / "missing/x", ""); }, Code::fileNoSuchFile, ENOENT},
        {[&] { put(cut, ""); }, Code::fileWriteInvalidFileName, EINVAL},
        {[&] { put(directory / std::string(300, 'x'), ""); }, Code::fileWriteInvalidFileName, ENAMETOOLONG},
        {[&] { put(directory.path(), ""); }, Code::fileWriteUnknown, EISDIR},
        {[&] { Files::createDirectory(file); }, Code::fileWriteUnknown, EEXIST}};
    using namespace testing;
    for (const auto& [operation, code, posixCode] : rows)
        EXPECT_THAT(operation, Throws<CocoaError>(AllOf(Property(&CocoaError::code, code),
                                                        Property(&CocoaError::posixCode, posixCode))));
    EXPECT_TRUE(Files::exists(file) && !Files::exists(cut));
    EXPECT_THAT(Files::names(directory.path()), ElementsAre("file"));
}

TEST(GroupContainer, IsLookedForInOrder) {
    const char* const names[] = {"TESSEL_GROUP_CONTAINERS", "XDG_DATA_HOME", "HOME"};
    const std::pair<std::array<const char*, 3>, std::optional<path>> rows[] = {
        {{"/chosen", "/data", "/home"}, "/chosen/group"}, {{"", "/data", "/home"}, "/data/group-containers/group"},
        {{"", "data", "/home"}, "/home/.local/share/group-containers/group"}, {{"", "", ""}, {}}};
    for (const auto& [values, expected] : rows) {
        for (std::size_t i = 0; i < values.size(); ++i) ::setenv(names[i], values[i], 1);
        EXPECT_EQ(containerURL("group"), expected);
    }
}

}  // namespace
