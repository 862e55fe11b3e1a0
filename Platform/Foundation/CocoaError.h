#pragma once

#include <exception>
#include <filesystem>
#include <string>

namespace Foundation {

/// A file operation that failed: the platform's own code (in the numbers of the Cocoa error domain), the operating
/// system's, and the path.
class CocoaError final : public std::exception {
public:
    enum class Code {
        fileNoSuchFile = 4,
        fileReadUnknown = 256,
        fileReadNoPermission = 257,
        fileReadNoSuchFile = 260,
        fileReadTooLarge = 263,
        fileWriteUnknown = 512,
        fileWriteNoPermission = 513,
        fileWriteInvalidFileName = 514,
        fileWriteOutOfSpace = 640
    };
    enum class Operation { read, write, remove };

    /// The error for an errno value.
    CocoaError(Operation operation, int posixCode, const std::filesystem::path& path);

    Code code() const { return code_; }
    int posixCode() const { return posixCode_; }
    const std::filesystem::path& path() const { return path_; }

    /// "PATH: No such file or directory".
    const char* what() const noexcept override { return message_.c_str(); }

private:
    Code code_;
    int posixCode_;
    std::filesystem::path path_;
    std::string message_;
};

}  // namespace Foundation
