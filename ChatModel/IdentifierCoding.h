#pragma once

#include <string>

#include "ChatModel/Identifier.h"
#include "Foundation/JSONCoding.h"

/// As a text.
template <>
struct Foundation::OwnCoder<ChatModel::Identifier> {
    static void decode(JSONReader& reader, ChatModel::Identifier& identifier) {
        std::string buffer;
        identifier = reader.readText(buffer);
    }
    static void encode(JSONWriter& writer, const ChatModel::Identifier& identifier) { writer.value(identifier); }
};
