#include "ChatModel/JSONValue.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <limits>
#include <type_traits>

#include "ChatModel/EntityCoding.h"
#include "ChatModel/JSONValueCoding.h"
#include "Foundation/UTF8.h"

namespace ChatModel {

using Foundation::DecodingError;
using Foundation::JSONReader;
using Foundation::JSONWriter;

struct JSONValueCoding {
    /// What a number that is too large for a double does.
    enum class Overflow { fails, isInfinite };

    /// No case takes such a number, and none takes an array that holds one: the object, tried last, tells so, for the
    /// outermost array around it.
    static void read(JSONReader& reader, JSONValue& value, Overflow overflow, bool isInArray = false) {
        JSONValue::Case& payload = value.case_;
        switch (reader.kind()) {
            case JSONReader::Kind::null:
                reader.skip();
                payload.emplace<JSONValue::Null>();
                break;
            case JSONReader::Kind::boolean:
                reader.read(payload.emplace<bool>());
                break;
            case JSONReader::Kind::number:
                if (reader.readIfInRange(payload.emplace<double>())) break;
                if (overflow == Overflow::fails) reader.failExpecting("an object");
                payload = std::numeric_limits<double>::infinity();
                reader.skip();
                break;
            case JSONReader::Kind::text:
                reader.read(payload.emplace<std::string>());
                break;
            case JSONReader::Kind::array: {
                const auto readElements = [&, &array = payload.emplace<JSONValue::Array>()](JSONReader& list) {
                    list.array([&](JSONReader& element) { read(element, array.emplace_back(), overflow, true); });
                };
                if (isInArray)
                    readElements(reader);
                else if (!reader.attempt(readElements))
                    reader.failExpecting("an object");
                break;
            }
            case JSONReader::Kind::object: {
                auto& object = payload.emplace<JSONValue::Object>();
                reader.object([&](std::string_view key, JSONReader& member) {
                    read(member, object.try_emplace(object.end(), std::string(key))->second, overflow, isInArray);
                });
                break;
            }
        }
    }
};

void readWithInfinities(JSONReader& reader, JSONValue& value) {
    JSONValueCoding::read(reader, value, JSONValueCoding::Overflow::isInfinite);
}

bool isRepresentable(const JSONValue& value, int depth) {
    const auto& payload = value.matched();
    if (const auto* number = std::get_if<double>(&payload)) return std::isfinite(*number);
    if (const auto* text = std::get_if<std::string>(&payload)) return Foundation::isValidUTF8(*text);
    if (const auto* array = std::get_if<JSONValue::Array>(&payload))
        return depth <= JSONReader::maximumDepth &&
               std::all_of(array->begin(), array->end(),
                           [&](const JSONValue& element) { return isRepresentable(element, depth + 1); });
    if (const auto* object = std::get_if<JSONValue::Object>(&payload))
        return depth <= JSONReader::maximumDepth &&
               std::all_of(object->begin(), object->end(), [&](const auto& member) {
                   return Foundation::isValidUTF8(member.first) && isRepresentable(member.second, depth + 1);
               });
    return true;
}

template struct ServerJSON<JSONValue>;

}  // namespace ChatModel

using ChatModel::JSONValue;

void Foundation::OwnCoder<JSONValue>::decode(JSONReader& reader, JSONValue& value) {
    ChatModel::JSONValueCoding::read(reader, value, ChatModel::JSONValueCoding::Overflow::fails);
}

void Foundation::OwnCoder<JSONValue>::encode(JSONWriter& writer, const JSONValue& value) {
    std::visit(
        [&]<class Payload>(const Payload& payload) {
            if constexpr (std::is_same_v<Payload, JSONValue::Null>)
                writer.null();
            else
                ByType::encode(writer, payload);
        },
        value.matched());
}

std::size_t std::hash<ChatModel::JSONValue>::operator()(const ChatModel::JSONValue& value) const noexcept {
    // Deliberately not the order of the cases: null, which is declared last, comes first.
    constexpr std::array<std::size_t, 6> discriminators = {1, 2, 3, 4, 5, 0};
    const auto& payload = value.matched();
    // std::hash gives both zeros, which are equal, the same hash, and takes other numbers by their bits.
    return std::visit([&](const auto& held) { return Foundation::hashOf(discriminators[payload.index()], held); },
                      payload);
}
