#pragma once

#include "ChatModel/JSONValue.h"
#include "Foundation/JSONReader.h"
#include "Foundation/JSONWriter.h"

namespace ChatModel {

/// Reads any JSON value. Throws `Foundation::DecodingError`, also for a number too large for a double.
void readJSON(Foundation::JSONReader& reader, JSONValue& value);

/// The same, but a number too large for a double is infinite: for readers that give up less than the whole for it.
void readJSONWithInfinities(Foundation::JSONReader& reader, JSONValue& value);

void writeJSON(Foundation::JSONWriter& writer, const JSONValue& value);

/// Whether the value can be written as JSON and read back: its texts are UTF-8, its numbers finite, and it is nested no
/// deeper than a reader goes.
bool isRepresentable(const JSONValue& value, int depth = 1);

}  // namespace ChatModel
