#include "Desktop/Spool.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <optional>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>

#include "Desktop/Log.h"
#include "Foundation/Files.h"

namespace Desktop {

namespace Files = Foundation::Files;
using Foundation::CocoaError;
using Foundation::Descriptor;

namespace {

constexpr const char* waiting = ".json";
constexpr const char* error = ".error";
constexpr const char* beingShown = ".showing";
constexpr char beforeKey = '-';

/// The directory, locked; none where another process has locked it, or has removed it, and where it is none.
std::optional<Descriptor> locked(const std::filesystem::path& directory) {
    Descriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!descriptor.isOpen() && (errno == ENOENT || errno == ENOTDIR)) return std::nullopt;
    if (!descriptor.isOpen()) throw CocoaError(CocoaError::Operation::read, errno, directory);
    struct stat status {};
    const bool isLocked = ::flock(descriptor.number(), LOCK_EX | LOCK_NB) == 0;
    if (!isLocked || ::fstat(descriptor.number(), &status) != 0 || status.st_nlink == 0) return std::nullopt;
    return descriptor;
}

void removeEmpty(const std::filesystem::path& directory) noexcept {
    std::error_code isNotEmpty;
    std::filesystem::remove(directory, isNotEmpty);
}

void moveFile(const std::filesystem::path& from, const std::filesystem::path& to) {
    if (::rename(from.c_str(), to.c_str()) != 0) throw CocoaError(CocoaError::Operation::write, errno, to);
}

/// Does what is done to a file; one that has gone, as with a state directory that was cleared, needs it no more.
template <class Operation>
void unlessGone(Operation operation) {
    try {
        operation();
    } catch (const CocoaError& failure) {
        if (failure.code() != CocoaError::Code::fileNoSuchFile) throw;
    }
}

}  // namespace

Spool::Spool(const std::filesystem::path& directory, const std::string& name)
    : directory_(directory), path_(directory / name) {
    // A new one may be taken over, and removed, by a service that starts before it is locked.
    constexpr int attempts = 3;
    std::optional<Descriptor> lock;
    for (int attempt = 0; attempt < attempts && !lock; ++attempt) {
        Files::createDirectory(path_);
        lock = locked(path_);
    }
    if (!lock) throw CocoaError(CocoaError::Operation::write, EAGAIN, path_);
    lock_ = std::move(*lock);
}

Spool::Kind Spool::kindOf(const Entry& entry) {
    return entry.extension() == error ? Kind::error : Kind::push;
}

Spool::Entry Spool::add(const Foundation::Data& content, Kind kind, const std::string& key) {
    using namespace std::chrono;
    // Names sort as the pushes came, and one that comes in the same moment, or after the clock was set back, behind.
    const auto now = duration_cast<nanoseconds>(system_clock::now().time_since_epoch()).count();
    last_ = std::max(last_ + 1, static_cast<std::uint64_t>(now));
    std::array<char, 32> number{};
    std::snprintf(number.data(), number.size(), "%020ju", static_cast<std::uintmax_t>(last_));
    const std::string name = number.data() + (key.empty() ? "" : beforeKey + key);
    Entry entry = path_ / (name + (kind == Kind::error ? error : waiting));
    Files::AtomicWrite(entry, content).commit();
    return entry;
}

std::string Spool::keyOf(const Entry& entry) {
    const std::string name = entry.stem();
    const auto end = name.find(beforeKey);
    return end == name.npos ? "" : name.substr(end + 1);
}

std::vector<Spool::Entry> Spool::entries() {
    std::vector<Entry> entries;
    for (const auto& name : Files::names(path_)) {
        const Entry entry = path_ / name;
        if (entry.extension() == waiting || entry.extension() == error) {
            entries.push_back(entry);
            continue;
        }
        if (entry.extension() == beingShown)
            log().log("A push was being shown when an earlier process ended; it is not shown again");
        remove(entry);  // or what a process that was killed had begun to write
    }
    std::sort(entries.begin(), entries.end());
    if (!entries.empty())
        last_ = std::max<std::uint64_t>(last_, std::strtoull(entries.back().stem().c_str(), nullptr, 10));
    return entries;
}

void Spool::adopt() {
    for (const auto& name : Files::names(directory_))
        if (const auto other = directory_ / name; other != path_) adopt(other);
}

void Spool::adopt(const std::filesystem::path& other) const {
    try {
        const auto lock = locked(other);
        if (!lock) return;
        for (const auto& entry : Files::names(other))
            if (!Files::exists(path_ / entry)) moveFile(other / entry, path_ / entry);
        removeEmpty(other);
    } catch (const CocoaError& failure) {
        log().error("What another process has left to be shown cannot be had: ", os::Public{failure.what()});
    }
}

void Spool::remove(const Entry& entry) {
    unlessGone([&] { Files::remove(entry); });
}

void Spool::removeIfEmpty() noexcept {
    removeEmpty(path_);
}

Spool::Entry Spool::marked(const Entry& entry) {
    Entry target = entry;
    target.replace_extension(beingShown);
    unlessGone([&] { moveFile(entry, target); });
    return target;
}

Spool::Entry Spool::unmarked(const Entry& entry) {
    Entry target = entry;
    target.replace_extension(waiting);
    unlessGone([&] { moveFile(entry, target); });
    return target;
}

}  // namespace Desktop
