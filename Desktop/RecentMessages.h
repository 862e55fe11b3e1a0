#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Foundation/Data.h"

namespace Desktop {

/// The messages that were taken last, in a file: a distributor whose acknowledgement was lost, by a crash of either side,
/// sends a message once more. The last 256 are known, by keys of 64 digits: SHA-256 of the identifier and the bytes together,
/// so that an identifier that a distributor gives again to another message makes it no known one.
class RecentMessages {
public:
    /// A file that is missing or cannot be understood is an empty one, and so, with a line in the log, is one that cannot
    /// be read.
    explicit RecentMessages(std::filesystem::path file);

    static std::string keyOf(const std::string& identifier, const Foundation::Data& message);

    bool contain(const std::string& key) const;
    /// Known to this process from now on, and to later ones once it is saved.
    void add(const std::string& key);
    /// Writes the file where it does not have all. Throws `Foundation::CocoaError`.
    void save();

private:
    std::filesystem::path file_;
    std::vector<std::string> keys_;
    bool isSaved_ = true;
};

}  // namespace Desktop
