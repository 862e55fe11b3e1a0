#pragma once

#include "ChatModel/JSONValue.h"
#include "Foundation/JSONCoding.h"

/// Reads any JSON value; a number too large for a double is an error. Throws `DecodingError`.
template <>
struct Foundation::OwnCoder<ChatModel::JSONValue> {
    // A specialisation is exported where its template is, unless it says otherwise.
    [[gnu::visibility("hidden")]] static void decode(JSONReader& reader, ChatModel::JSONValue& value);
    [[gnu::visibility("hidden")]] static void encode(JSONWriter& writer, const ChatModel::JSONValue& value);
};

namespace ChatModel {

/// The same, but a number too large for a double is infinite: for readers that give up less than the whole for it.
void readWithInfinities(Foundation::JSONReader& reader, JSONValue& value);

/// Whether the value can be written as JSON and read back: its texts are UTF-8, its numbers finite, and it is nested no
/// deeper than a reader goes.
bool isRepresentable(const JSONValue& value, int depth = 1);

}  // namespace ChatModel
