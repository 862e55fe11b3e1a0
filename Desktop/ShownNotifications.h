#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "ChatModel/PushPayload.h"
#include "Foundation/PropertyList.h"

namespace Desktop {

/// A notification that a server shows, with what its push told, but for texts, which are not kept.
struct ShownNotification {
    std::int64_t number = 0;       ///< the server's, of 32 bits without a sign
    std::string threadIdentifier;  ///< by which a later one replaces it; empty for none
    Foundation::Dictionary push;   ///< kind and identifiers, by the push's own keys

    /// The record of a push's notification.
    static ShownNotification of(std::uint32_t number, std::string threadIdentifier, const Foundation::Dictionary& push);

    friend bool operator==(const ShownNotification&, const ShownNotification&) = default;
};

/// The notifications that are shown, in a file, so that a later process finds those of an earlier one. Several
/// processes may work with it at once. Beyond 500 the oldest are forgotten. Each function throws
/// `Foundation::CocoaError`; a file that cannot be understood is an empty one.
class ShownNotifications {
public:
    /// `server` tells which server's they are; those of any other one count no more.
    ShownNotifications(std::filesystem::path file, std::string server);

    /// Adds one, in place of one with the same number.
    void add(ShownNotification notification);
    /// Removes it; nothing where it is not known.
    std::optional<ShownNotification> remove(std::int64_t number);
    std::optional<ShownNotification> find(std::int64_t number) const;
    /// The number of the thread's last one.
    std::optional<std::int64_t> lastInThread(const std::string& threadIdentifier) const;
    /// Removes those of the same server that this push, which must be verified, clears, and returns their numbers. One
    /// that is not verified itself is of the server that it names.
    std::vector<std::int64_t> clear(const ChatModel::PushPayload& push);

private:
    template <class Change>
    auto changed(Change change);
    std::vector<ShownNotification> read() const;

    std::filesystem::path file_;
    std::string server_;
};

}  // namespace Desktop
