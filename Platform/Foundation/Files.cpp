#include "Foundation/Files.h"

#include <cerrno>
#include <utility>

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Foundation::Files {

namespace {

using Operation = CocoaError::Operation;

class Descriptor {
public:
    explicit Descriptor(int number) : number_(number) {}
    ~Descriptor() {
        if (number_ >= 0) ::close(number_);
    }
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    int number() const { return number_; }

private:
    int number_;
};

/// The path for a system call; a NUL in it would cut it short and name another file.
const char* systemPath(const std::filesystem::path& path, Operation operation) {
    if (path.native().find('\0') != std::string::npos)
        throw CocoaError(operation, operation == Operation::write ? EINVAL : ENOENT, path);
    return path.c_str();
}

std::filesystem::path directoryOf(const std::filesystem::path& path) {
    return path.has_parent_path() ? path.parent_path() : std::filesystem::path(".");
}

void syncDirectory(const std::filesystem::path& directory) {
    const Descriptor descriptor(::open(directory.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a directory (EINVAL); the rename stands all the same.
    if (descriptor.number() < 0 || (::fsync(descriptor.number()) != 0 && errno != EINVAL))
        throw CocoaError(Operation::write, errno, directory);
}

}  // namespace

Data read(const std::filesystem::path& path) {
    const Descriptor descriptor(::open(systemPath(path, Operation::read), O_RDONLY | O_CLOEXEC));
    if (descriptor.number() < 0) throw CocoaError(Operation::read, errno, path);
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
    DIR* const stream = ::opendir(systemPath(directory, Operation::read));
    if (stream == nullptr) throw CocoaError(Operation::read, errno, directory);
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(stream)) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
    }
    const int error = errno;
    ::closedir(stream);
    if (error != 0) throw CocoaError(Operation::read, error, directory);
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
    return path.native().find('\0') == std::string::npos && ::access(path.c_str(), F_OK) == 0;
}

AtomicWrite::AtomicWrite(std::filesystem::path destination, const Data& data) : destination_(std::move(destination)) {
    systemPath(destination_, Operation::write);
    std::string name = directoryOf(destination_).string() + "/.writing-XXXXXX";
    const Descriptor descriptor(::mkostemp(name.data(), O_CLOEXEC));  // mode 0600
    if (descriptor.number() < 0) throw CocoaError(Operation::write, errno, destination_);
    temporary_ = name;
    try {
        for (std::size_t done = 0; done < data.size();) {
            const ssize_t count = ::write(descriptor.number(), data.data() + done, data.size() - done);
            if (count < 0 && errno != EINTR) throw CocoaError(Operation::write, errno, destination_);
            if (count > 0) done += static_cast<std::size_t>(count);
        }
        if (::fsync(descriptor.number()) != 0) throw CocoaError(Operation::write, errno, destination_);
    } catch (...) {
        ::unlink(temporary_.c_str());
        throw;
    }
}

AtomicWrite::~AtomicWrite() {
    if (!temporary_.empty()) ::unlink(temporary_.c_str());
}

void AtomicWrite::commit() {
    if (::rename(temporary_.c_str(), destination_.c_str()) != 0)
        throw CocoaError(Operation::write, errno, destination_);
    temporary_.clear();
    syncDirectory(directoryOf(destination_));
}

}  // namespace Foundation::Files
