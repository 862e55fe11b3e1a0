#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Foundation/CocoaError.h"
#include "Foundation/Data.h"

namespace Foundation {

/// File operations. Each throws `CocoaError`. A path that holds a NUL never reaches the file system: no such file.
namespace Files {

Data read(const std::filesystem::path& path);

/// The names in a directory, hidden ones too, without "." and "..", in the file system's order.
std::vector<std::string> names(const std::filesystem::path& directory);

/// Creates the directory and those above it that are missing, with mode 0700; an existing one is no error.
void createDirectory(const std::filesystem::path& directory);

void remove(const std::filesystem::path& path);

bool exists(const std::filesystem::path& path);

/// Writes a file so that a reader sees the old or the new whole one: a temporary file beside it, synced, then
/// renamed over it, and the directory synced. The mode is 0600, which stands for the platform's protection class.
class AtomicWrite {
public:
    /// Writes the bytes to the temporary file; nothing is seen of it yet.
    AtomicWrite(std::filesystem::path destination, const Data& data);
    /// Removes the temporary file unless it was put in place.
    ~AtomicWrite();
    AtomicWrite(const AtomicWrite&) = delete;
    AtomicWrite& operator=(const AtomicWrite&) = delete;

    /// Puts the file in its place.
    void commit();

private:
    std::filesystem::path destination_;
    std::string temporary_;
};

}  // namespace Files

}  // namespace Foundation
