#pragma once

#include <algorithm>
#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

#include "ChatModel/IdentifierCoding.h"
#include "ChatModel/ServerJSON.h"
#include "Foundation/JSONCoding.h"

/// What the sources of the entities share; it is not for other libraries.
namespace ChatModel {

/// A key as an argument of a template.
template <std::size_t size>
struct Key {
    consteval Key(const char (&text)[size]) { std::copy_n(text, size, characters); }
    constexpr operator std::string_view() const { return {characters, size - 1}; }

    char characters[size];
};

/// A value that stands alone in an object, under this key: {"id":"a"}. It must be there; other members do not count.
template <Key key>
struct Within {
    template <class Value>
    static void decode(Foundation::JSONReader& reader, Value& value) {
        bool found = false;
        reader.object([&](std::string_view name, Foundation::JSONReader& member) {
            if (name != key) return;
            Foundation::ByType::decode(member, value);
            found = true;
        });
        if (!found) reader.failMissing(key);
    }

    template <class Value>
    static void encode(Foundation::JSONWriter& writer, const Value& value) {
        Foundation::ByType::encode(writer.beginObject().key(key), value);
        writer.endObject();
    }
};

/// A list of such values: [{"id":"a"},{"id":"b"}].
template <Key key>
struct EachWithin {
    template <class Value>
    static void decode(Foundation::JSONReader& reader, std::vector<Value>& values) {
        reader.array([&](Foundation::JSONReader& element) { Within<key>::decode(element, values.emplace_back()); });
    }

    template <class Value>
    static void encode(Foundation::JSONWriter& writer, const std::vector<Value>& values) {
        writer.beginArray();
        for (const auto& value : values)
            Within<key>::encode(writer, value);
        writer.endArray();
    }
};

template <class Entity>
Entity ServerJSON<Entity>::decode(std::string_view json) {
    return Foundation::decodeJSON<Entity>(json);
}

template <class Entity>
std::vector<Entity> ServerJSON<Entity>::decodeList(std::string_view json) {
    std::vector<Entity> entities;
    Foundation::parseJSON(json, [&](Foundation::JSONReader& reader) {
        reader.array([&](Foundation::JSONReader& element) {
            // A page grows to what it will hold, as far as its first entities tell, and no further than they can: to
            // double it over and over would cost a fourth of the decoding, and memory that is never used.
            constexpr std::size_t sample = 64;
            constexpr std::size_t mostGrowth = 16;
            const std::size_t count = entities.size();
            if (count == entities.capacity()) {
                const std::size_t expected = count == 0 ? 1 : reader.expectedCount(count);
                const std::size_t most = count < sample ? sample : mostGrowth * count;
                entities.reserve(std::max(count + count / 4 + 1, std::min(expected, most)));
            }
            Foundation::ByType::decode(element, entities.emplace_back());
        });
    });
    return entities;
}

template <class Entity>
std::string ServerJSON<Entity>::encode(const Entity& entity) {
    return Foundation::encodeJSON(entity);
}

}  // namespace ChatModel
