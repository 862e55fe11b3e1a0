#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "Foundation/Data.h"

namespace Desktop {

/// The messages that were taken last, in a file: a distributor whose acknowledgement was lost, by a crash of either side,
/// sends a message once more. The last 256 are known, by digests (SHA-256) of their identifiers and bytes together: an
/// identifier that a distributor gives again to another message makes it no known one.
class RecentMessages {
public:
    /// A file that is missing or cannot be understood is an empty one. Throws `Foundation::CocoaError`.
    explicit RecentMessages(std::filesystem::path file);

    bool contain(const std::string& identifier, const Foundation::Data& message) const;
    /// Known from now on, also where this throws `Foundation::CocoaError`: the file cannot be written then.
    void add(const std::string& identifier, const Foundation::Data& message);

private:
    std::filesystem::path file_;
    std::vector<std::string> digests_;
};

}  // namespace Desktop
