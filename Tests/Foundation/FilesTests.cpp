#include "Foundation/Files.h"

#include <csignal>
#include <cstdlib>
#include <functional>

#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

#include "Foundation/GroupContainer.h"
#include "Support/Support.h"

using namespace Foundation;
using namespace std::string_literals;
using std::filesystem::path;

namespace {

auto mode(const path& file) { return static_cast<unsigned>(std::filesystem::status(file).permissions()); }
void put(const path& file, std::string_view text) { Files::AtomicWrite(file, bytes(text)).commit(); }
std::string text(const path& file) { return std::string(textView(Files::read(file))); }

TEST(Files, AreReplacedWholeAndForTheUserAlone) {
    const Support::TemporaryDirectory directory;
    const path file = directory / "file";
    const mode_t mask = ::umask(0);
    Support::writeFile(file, "old");
    { const Files::AtomicWrite uncommitted(file, bytes("new")); }

    rlimit limit{};
    ::getrlimit(RLIMIT_FSIZE, &limit);
    const rlimit small{4096, limit.rlim_max};
    const auto handler = ::signal(SIGXFSZ, SIG_IGN);
    ::setrlimit(RLIMIT_FSIZE, &small);
    EXPECT_THROW(put(file, std::string(10'000, 'x')), CocoaError);
    ::setrlimit(RLIMIT_FSIZE, &limit);
    ::signal(SIGXFSZ, handler);
    EXPECT_EQ(text(file), "old");

    put(file, "new\0"s + std::string(200'000, 'x'));
    EXPECT_EQ(text(file), "new\0"s + std::string(200'000, 'x'));
    EXPECT_EQ(mode(file), 0600u);
    EXPECT_THAT(Files::names(directory.path()), testing::ElementsAre("file"));
    EXPECT_NE(text("/proc/self/status"), "") << "a file whose size is not known beforehand";

    for (const char* name : {"a/b/c/", "a/b", "a/b/", "a//d/../e", "a"}) {
        Files::createDirectory(directory / name);
        EXPECT_EQ(mode(directory / name), 0700u) << name;
    }
    ::umask(mask);
}

TEST(Files, SayWhatIsWrong) {
    const Support::TemporaryDirectory directory;
    const path file = directory / "file";
    const path cut = directory / "file\0x"s;
    put(file, "");
    using Code = CocoaError::Code;
    const std::tuple<std::function<void()>, Code, int> rows[] = {
        {[&] { Files::read(directory / "missing"); }, Code::fileReadNoSuchFile, ENOENT},
        {[&] { Files::read(directory.path()); }, Code::fileReadUnknown, EISDIR},
        {[&] { Files::read(cut); }, Code::fileReadNoSuchFile, ENOENT},
        {[&] { Files::remove(cut); }, Code::fileNoSuchFile, ENOENT},
        {[&] { put(directory / "missing/x", ""); }, Code::fileNoSuchFile, ENOENT},
        {[&] { put(cut, ""); }, Code::fileWriteInvalidFileName, EINVAL},
        {[&] { put(directory / std::string(300, 'x'), ""); }, Code::fileWriteInvalidFileName, ENAMETOOLONG},
        {[&] { put(directory.path(), ""); }, Code::fileWriteUnknown, EISDIR},
        {[&] { Files::createDirectory(file); }, Code::fileWriteUnknown, EEXIST},
        {[&] { Files::createDirectory(cut); }, Code::fileWriteInvalidFileName, EINVAL}};
    for (const auto& row : rows) {
        SCOPED_TRACE(&row - rows);
        try {
            std::get<0>(row)();
            ADD_FAILURE() << "it succeeded";
        } catch (const CocoaError& error) {
            EXPECT_EQ(error.code(), std::get<1>(row));
            EXPECT_EQ(error.posixCode(), std::get<2>(row));
        }
    }
    EXPECT_TRUE(Files::exists(file) && !Files::exists(cut));
    EXPECT_THAT(Files::names(directory.path()), testing::ElementsAre("file"));
}

TEST(GroupContainer, IsLookedForInOrder) {
    const std::tuple<const char*, const char*, const char*, std::optional<path>> rows[] = {
        {"/chosen", "/data", "/home", "/chosen/group"},
        {"", "/data", "/home", "/data/group-containers/group"},
        {"", "data", "/home", "/home/.local/share/group-containers/group"}, {"", "", "", {}}};
    for (const auto& [chosen, data, home, expected] : rows) {
        ::setenv("TESSEL_GROUP_CONTAINERS", chosen, 1);
        ::setenv("XDG_DATA_HOME", data, 1);
        ::setenv("HOME", home, 1);
        EXPECT_EQ(containerURL("group"), expected);
    }
}

}  // namespace
