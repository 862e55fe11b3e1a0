#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "ChatModel/PushPayload.h"
#include "Foundation/Data.h"
#include "UserNotifications/UNNotificationContent.h"

namespace Desktop {

/// A push as it is to be shown.
struct Delivery {
    struct Sender {
        std::string displayName;
        std::optional<Foundation::Data> image;  ///< the bytes of a picture, of whatever format

        friend bool operator==(const Sender&, const Sender&) = default;
    };

    UserNotifications::UNMutableNotificationContent content;  ///< of what is not verified it says so, to the client too
    std::optional<Sender> sender;                ///< of a message that names one as a person
    std::optional<ChatModel::PushPayload> push;  ///< in the content's user information; nothing where there is none

    /// Whether the extension has found that a server that the user has signed in to sent it.
    bool isVerified = false;

    /// What the extension has written: {"delivery":"completed","content":{…}} with pictures, as its program's output
    /// has it. Throws `Foundation::DecodingError`.
    static Delivery read(std::string_view line);

    /// A push that no extension has looked at, as it came. Throws `Foundation::DecodingError` for what is no JSON
    /// object.
    static Delivery unlooked(std::string_view push);
};

}  // namespace Desktop
