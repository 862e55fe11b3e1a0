#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "Desktop/Delivery.h"
#include "Desktop/Picture.h"
#include "Desktop/Texts.h"

namespace Desktop {

/// What a notification server can do, by the names that freedesktop.org's desktop notifications 1.2 give.
struct Abilities {
    bool hasActions = false;      ///< "actions"
    bool hasMarkup = false;       ///< "body-markup": a body is read as markup
    bool hasInlineReply = false;  ///< "inline-reply", which is an extension
    bool keeps = false;           ///< "persistence": what was shown stays in a list, until the user removes it

    static Abilities of(const std::vector<std::string>& capabilities);
};

/// A notification as a server takes it.
struct Notification {
    /// As they are numbered on the bus.
    enum class Urgency { low, normal, critical };

    /// The keys of actions: a click on the notification itself, and a reply in the notification. A button that asks the
    /// client for an editor has the key `ChatModel::PushPayload::replyAction`.
    static constexpr std::string_view openKey = "default";
    static constexpr std::string_view inlineReplyKey = "inline-reply";

    std::string summary;                                       ///< never markup
    std::string body;                                          ///< markup where the server has it
    std::vector<std::pair<std::string, std::string>> actions;  ///< keys and labels
    std::optional<Picture> picture;
    Urgency urgency = Urgency::normal;
    bool isSilent = false;
    bool isError = false;  ///< of the desktop's own making; it stays until it is closed

    /// A push as this server can show it; nothing for what has no text to be shown, and for pushes that only tell of
    /// others (`clear`, `updateBadge`).
    static std::optional<Notification> of(const Delivery& delivery, const Abilities& abilities,
                                          const Texts& texts = Texts());

    /// An error that the user is told.
    static Notification error(std::string_view summary, std::string_view text, const Abilities& abilities);
};

/// The text as it can be shown: what controls a terminal or a layout is replaced by a picture of it ("␛"), line ends in
/// a body alone are kept, and what is longer than anyone reads is cut, at 200 characters or as many as are given.
std::string shownOnOneLine(std::string_view text);
std::string shownAsBody(std::string_view text, bool hasMarkup, std::size_t longest = 2'000);

}  // namespace Desktop
