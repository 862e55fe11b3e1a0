#pragma once

#include <string>

#include "ChatModel/Identifier.h"
#include "Foundation/JSONCoding.h"

/// An identifier in tables of fields, as a text. For programs with tables of their own, whose input holds identifiers;
/// an entity's JSON needs no more than `ServerJSON`.
template <>
struct Foundation::OwnCoder<ChatModel::Identifier> {
    static void decode(JSONReader& reader, ChatModel::Identifier& identifier) {
        std::string buffer;
        identifier = reader.readText(buffer);
    }
    static void encode(JSONWriter& writer, const ChatModel::Identifier& identifier) { writer.value(identifier); }
};
