#pragma once

#include <optional>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "ChatModel/Identifier.h"
#include "ChatModel/ServerJSON.h"
#include "Foundation/JSONReader.h"

namespace tessel {

/// The coder of entities as the server sends them, within an input that the tool reads by its own keys. Errors name the
/// place in the input.
struct FromServer {
    template <class Entity>
    static void decode(Foundation::JSONReader& reader, Entity& entity) {
        const std::string_view json = reader.raw();
        try {
            entity = ChatModel::ServerJSON<Entity>::decode(json);
        } catch (const Foundation::DecodingError& error) {
            throw error.below(reader.path());
        }
    }

    template <class Entity>
    static void decode(Foundation::JSONReader& reader, std::optional<Entity>& entity) {
        decode(reader, entity.emplace());
    }

    template <class Entity>
    static void decode(Foundation::JSONReader& reader, std::vector<Entity>& entities) {
        reader.array([&](Foundation::JSONReader& element) { decode(element, entities.emplace_back()); });
    }

    template <class Value>
    static void decode(Foundation::JSONReader& reader, std::unordered_map<ChatModel::Identifier, Value>& values) {
        reader.object([&](std::string_view key, Foundation::JSONReader& member) {
            decode(member, values.insert_or_assign(key, Value()).first->second);
        });
    }
};

}  // namespace tessel
