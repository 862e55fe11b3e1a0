#pragma once

#include <string>
#include <string_view>

#include "ChatModel/Post.h"
#include "Foundation/FunctionRef.h"

namespace ChatModel::NotificationRules {

/// The client's conversion of message markup to plain text. It is called during the call it is given to, and not kept.
using PlainText = Foundation::FunctionRef<std::string(std::string_view)>;

/// The text in which a post mentions people: its message, then a line for each text of its attachments and of their
/// fields, in plain text and without emoji codes.
std::string mentionText(const Post& post, PlainText plainText);

/// The text without its emoji codes (":smile:"), so that an emoji's name mentions nobody. A code whose colons touch a
/// word ("x:bob:") is none.
std::string withoutEmojiCodes(std::string_view text);

}  // namespace ChatModel::NotificationRules
