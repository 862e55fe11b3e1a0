#pragma once

#include <vector>

#include "ChatModel/JSONValue.h"
#include "ChatModel/MessageAttachment.h"

namespace ChatModel {

/// The attachments in a post's property: what writing it out as JSON and reading that back would give. Empty where it
/// is no list, where any element is no attachment, and where it cannot be written out.
std::vector<MessageAttachment> attachmentsFrom(const JSONValue& property);

}  // namespace ChatModel
