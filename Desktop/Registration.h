#pragma once

#include <filesystem>
#include <optional>
#include <string>

namespace Desktop {

/// How this user's pushes come here: what is known of the registration with a UnifiedPush distributor.
struct Registration {
    std::string token;                       ///< ours, by which the distributor names the registration; 32 digits
    std::optional<std::string> distributor;  ///< its bus name
    std::optional<std::string> endpoint;     ///< the URL that the chat server is to push to

    /// A new one, that has only a token.
    static Registration make();
    /// The one that is kept in the directory, else a new one. Throws `Foundation::CocoaError`, and
    /// `Foundation::DecodingError` where the file is not understood.
    static Registration load(const std::filesystem::path& directory);
    /// Writes where it is not kept already, and makes the directory. Throws `Foundation::CocoaError`.
    void save(const std::filesystem::path& directory) const;

    friend bool operator==(const Registration&, const Registration&) = default;
};

}  // namespace Desktop
