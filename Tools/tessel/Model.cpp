#include "tessel/Model.h"

#include <new>

#include "Foundation/JSONCoding.h"
#include "Foundation/StandardStreams.h"
#include "Foundation/UTF8.h"
#include "Text/WhiteSpace.h"
#include "tessel/ExitStatus.h"

namespace tessel {

using Foundation::DecodingError;
using Foundation::JSONReader;
using Foundation::JSONWriter;

namespace {

/// The answer's line; `good` becomes false for an input that is refused.
std::string answer(const Operation& operation, const std::string& line, bool& good) {
    std::string reason;
    try {
        JSONWriter writer;
        Foundation::parseJSON(line, [&](JSONReader& reader) { operation(reader, writer); });
        return std::move(writer).text();
    } catch (const DecodingError& error) {
        reason = error.what();
    } catch (const std::bad_alloc&) {
        reason = "too large for the memory there is";
    }
    good = false;
    JSONWriter writer;
    writer.beginObject().key("error").value(Foundation::repairedUTF8(reason)).endObject();
    return std::move(writer).text();
}

}  // namespace

const Operation* findOperation(const Operations& operations, const std::string& name) {
    const auto found = operations.find(name);
    return found == operations.end() ? nullptr : &found->second;
}

int runModel(const Operation& operation) {
    bool good = true;
    Foundation::StandardInput input;
    while (const auto line = input.next())
        if (!Text::trimmed(line->text).empty())
            Foundation::writeToStandardOutput(answer(operation, line->text, good) + '\n');
    return good ? done : notFoundOrBadInput;
}

Members::Members(JSONReader& reader) {
    reader.object([&](std::string_view key, JSONReader& value) { members_[std::string(key)] = value.raw(); });
}

bool Members::has(const std::string& key) const {
    const auto found = members_.find(key);
    return found != members_.end() && found->second != "null";
}

std::string_view Members::required(const std::string& key) const {
    const auto found = members_.find(key);
    if (found == members_.end()) throw DecodingError(DecodingError::Reason::keyNotFound, key, "missing");
    return found->second;
}

void Members::read(const std::string& key, Foundation::FunctionRef<void(JSONReader&)> read) const {
    decoded(key, [&](std::string_view json) { Foundation::parseJSON(json, read); });
}

std::string Members::text(const std::string& key) const {
    return decoded(key, Foundation::decodeJSON<std::string>);
}

Foundation::URL Members::url(const std::string& key) const {
    auto url = Foundation::URL::parse(text(key));
    if (!url) refuse(key, "expected a URL");
    return *std::move(url);
}

std::optional<std::string> Members::optionalText(const std::string& key) const {
    return optionallyDecoded(key, Foundation::decodeJSON<std::string>);
}

std::optional<std::int64_t> Members::optionalInteger(const std::string& key) const {
    return optionallyDecoded(key, Foundation::decodeJSON<std::int64_t>);
}

std::optional<std::string> spelling(const std::optional<Foundation::URL>& url) {
    if (!url) return std::nullopt;
    return url->absoluteString();
}

void refuse(const std::string& key, const std::string& reason) {
    throw DecodingError(DecodingError::Reason::typeMismatch, key, reason);
}

}  // namespace tessel
