#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Foundation/CocoaError.h"
#include "Foundation/Data.h"
#include "Foundation/Descriptor.h"

namespace Foundation {

/// File operations. Each throws `CocoaError`. A path that holds a NUL never reaches the file system: no such file, or
/// where one is to be written an invalid name.
namespace Files {

/// The whole file.
Data read(const std::filesystem::path& path);

/// The names in a directory, hidden ones too, without "." and "..", in the file system's order.
std::vector<std::string> names(const std::filesystem::path& directory);

/// Creates the directory and those above it that are missing, with mode 0700; an existing one is no error.
void createDirectory(const std::filesystem::path& directory);

/// Removes a file; that there is none is an error.
void remove(const std::filesystem::path& path);

bool exists(const std::filesystem::path& path);

/// Writes a file so that a reader sees the old or the new whole one: a temporary file in the same directory, written
/// and synced, then put in its place at once, and the directory synced. The mode is 0600, which stands for the
/// platform's protection class. Where the file system can, the temporary file is written without a name, so that a
/// writer that is killed in the midst of it leaves nothing behind.
class AtomicWrite {
public:
    /// Writes the bytes to the temporary file; the destination is as it was.
    AtomicWrite(std::filesystem::path destination, const Data& data);
    /// Removes the temporary file unless it was put in place.
    ~AtomicWrite();
    AtomicWrite(const AtomicWrite&) = delete;
    AtomicWrite& operator=(const AtomicWrite&) = delete;

    /// Removes the predecessors, in this order, and at once puts the file in its place. Where a removal fails, those
    /// before it stay removed and the file is not put in place; where the putting fails, all predecessors are as they
    /// were.
    void commit(const std::vector<std::filesystem::path>& predecessors = {});

private:
    explicit AtomicWrite(std::filesystem::path destination);
    void open();
    void write(const Data& data);
    bool link(const std::filesystem::path& name);
    void nameTemporary();
    void putInPlace();

    std::filesystem::path destination_;
    Descriptor descriptor_;
    std::filesystem::path nameless_;   ///< how the system names the open file
    std::filesystem::path temporary_;  ///< empty while the file has no name, and once it is in place
};

}  // namespace Files

}  // namespace Foundation
