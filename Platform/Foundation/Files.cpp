#include "Foundation/Files.h"

#include <cerrno>
#include <memory>
#include <random>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "Foundation/Releaser.h"

namespace Foundation::Files {

namespace {

using Operation = CocoaError::Operation;

/// A NUL would cut the path short, and name another file.
bool holdsNUL(const std::filesystem::path& path) {
    return path.native().find('\0') != std::string::npos;
}

/// The path for a system call.
const char* systemPath(const std::filesystem::path& path, Operation operation) {
    if (holdsNUL(path)) throw CocoaError(operation, operation == Operation::write ? EINVAL : ENOENT, path);
    return path.c_str();
}

std::filesystem::path directoryOf(const std::filesystem::path& path) {
    return path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
}

/// A name for a file that is there for a moment.
std::filesystem::path hiddenName(const std::filesystem::path& directory) {
    std::random_device random;
    return directory / (".writing-" + std::to_string(random()));
}

void syncDirectory(const std::filesystem::path& directory) {
    const Descriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a directory (EINVAL); the rename stands all the same.
    if (!descriptor.isOpen() || (::fsync(descriptor.number()) != 0 && errno != EINVAL))
        throw CocoaError(Operation::write, errno, directory);
}

}  // namespace

Data read(const std::filesystem::path& path) {
    const Descriptor descriptor(::open(systemPath(path, Operation::read), O_RDONLY | O_CLOEXEC));
    if (!descriptor.isOpen()) throw CocoaError(Operation::read, errno, path);
    struct stat status {};
    if (::fstat(descriptor.number(), &status) != 0) throw CocoaError(Operation::read, errno, path);
    // One byte more than the size, so that the end is seen without growing.
    Data data(S_ISREG(status.st_mode) ? static_cast<std::size_t>(status.st_size) + 1 : 65536);
    std::size_t length = 0;
    while (true) {
        const ssize_t count = ::read(descriptor.number(), data.data() + length, data.size() - length);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) throw CocoaError(Operation::read, errno, path);
        if (count == 0) break;
        length += static_cast<std::size_t>(count);
        if (length == data.size()) data.resize(data.size() * 2);
    }
    data.resize(length);
    return data;
}

std::vector<std::string> names(const std::filesystem::path& directory) {
    const std::unique_ptr<DIR, Releaser<::closedir>> stream(::opendir(systemPath(directory, Operation::read)));
    if (!stream) throw CocoaError(Operation::read, errno, directory);
    std::vector<std::string> names;
    while (true) {
        errno = 0;  // the end and an error look alike
        const dirent* const entry = ::readdir(stream.get());
        if (entry == nullptr) break;
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    if (errno != 0) throw CocoaError(Operation::read, errno, directory);
    return names;
}

void createDirectory(const std::filesystem::path& directory) {
    if (::mkdir(systemPath(directory, Operation::write), 0700) == 0) return;
    int error = errno;
    if (error == ENOENT && directory.has_parent_path() && directory.parent_path() != directory) {
        createDirectory(directory.parent_path());
        if (::mkdir(directory.c_str(), 0700) == 0) return;
        error = errno;
    }
    struct stat status {};
    if (::stat(directory.c_str(), &status) == 0 && S_ISDIR(status.st_mode)) return;
    throw CocoaError(Operation::write, error, directory);
}

void remove(const std::filesystem::path& path) {
    if (::unlink(systemPath(path, Operation::remove)) != 0) throw CocoaError(Operation::remove, errno, path);
}

bool exists(const std::filesystem::path& path) {
    return !holdsNUL(path) && ::access(path.c_str(), F_OK) == 0;
}

// The destructor runs for a constructor that throws once this one is done.
AtomicWrite::AtomicWrite(std::filesystem::path destination) : destination_(std::move(destination)) {}

AtomicWrite::AtomicWrite(std::filesystem::path destination, const Data& data) : AtomicWrite(std::move(destination)) {
    struct stat status {};
    const bool replaces = ::lstat(systemPath(destination_, Operation::write), &status) == 0;
    // A name that cannot be is found before anything depends on it.
    if (!replaces && errno != ENOENT) throw CocoaError(Operation::write, errno, destination_);
    open();
    write(data);
    // Only a file with a name can replace another. From here to the commit lie microseconds, and a writer that is
    // killed in them leaves the name behind.
    if (replaces && temporary_.empty()) nameTemporary();
}

AtomicWrite::~AtomicWrite() {
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void AtomicWrite::open() {
    const auto directory = directoryOf(destination_);
    descriptor_ = Descriptor(::open(directory.c_str(), O_TMPFILE | O_WRONLY | O_CLOEXEC, 0600));
    nameless_ = "/proc/self/fd/" + std::to_string(descriptor_.number());
    if (descriptor_.isOpen() && ::access(nameless_.c_str(), F_OK) == 0) return;
    // Not every file system has files without names, and without /proc they get none. A fault of another kind shows
    // here again.
    descriptor_.close();
    std::string name = directory / ".writing-XXXXXX";
    descriptor_ = Descriptor(::mkostemp(name.data(), O_CLOEXEC));  // mode 0600
    if (!descriptor_.isOpen()) throw CocoaError(Operation::write, errno, destination_);
    temporary_ = name;
}

void AtomicWrite::write(const Data& data) {
    for (std::size_t done = 0; done < data.size();) {
        const ssize_t count = ::write(descriptor_.number(), data.data() + done, data.size() - done);
        if (count < 0 && errno != EINTR) throw CocoaError(Operation::write, errno, destination_);
        if (count > 0) done += static_cast<std::size_t>(count);
    }
    if (::fsync(descriptor_.number()) != 0) throw CocoaError(Operation::write, errno, destination_);
}

/// Gives the file a name; false where there is something of that name.
bool AtomicWrite::link(const std::filesystem::path& name) {
    if (::linkat(AT_FDCWD, nameless_.c_str(), AT_FDCWD, name.c_str(), AT_SYMLINK_FOLLOW) == 0) return true;
    if (errno != EEXIST) throw CocoaError(Operation::write, errno, destination_);
    return false;
}

void AtomicWrite::nameTemporary() {
    std::filesystem::path name;
    do {
        name = hiddenName(directoryOf(destination_));
    } while (!link(name));
    temporary_ = name;
}

void AtomicWrite::putInPlace() {
    // Where somebody else was faster to make the destination, it is replaced.
    if (temporary_.empty() && !link(destination_)) nameTemporary();
    if (!temporary_.empty() && ::rename(temporary_.c_str(), destination_.c_str()) != 0)
        throw CocoaError(Operation::write, errno, destination_);
    temporary_.clear();
}

void AtomicWrite::commit(const std::vector<std::filesystem::path>& predecessors) {
    // They are out of the way under other names: they can come back, and to free them takes ten times as long.
    std::vector<std::filesystem::path> names;
    for (const auto& predecessor : predecessors)
        names.push_back(hiddenName(directoryOf(predecessor)));
    const auto moveAside = [&](std::size_t i) {
        errno = ENOENT;
        return !holdsNUL(predecessors[i]) && ::rename(predecessors[i].c_str(), names[i].c_str()) == 0;
    };
    std::size_t count = 0;
    while (count < names.size() && moveAside(count))
        ++count;
    const int failure = errno;
    const bool areOutOfTheWay = count == names.size();
    try {
        if (areOutOfTheWay) putInPlace();
    } catch (...) {
        while (count-- > 0)
            ::rename(names[count].c_str(), predecessors[count].c_str());
        throw;
    }
    names.resize(count);
    for (const auto& name : names)
        Files::remove(name);
    if (!areOutOfTheWay) throw CocoaError(Operation::remove, failure, predecessors[count]);
    syncDirectory(directoryOf(destination_));
}

}  // namespace Foundation::Files
