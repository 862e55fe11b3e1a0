#include "Foundation/PropertyList.h"

#include <cmath>

#include "Foundation/Base64.h"

namespace Foundation {

std::optional<bool> PropertyList::boolean() const {
    if (const bool* boolean = std::get_if<bool>(&value_)) return *boolean;
    const auto number = integer();
    if (number != 0 && number != 1) return std::nullopt;
    return *number == 1;
}

std::optional<std::int64_t> PropertyList::integer() const {
    if (const auto* integer = std::get_if<std::int64_t>(&value_)) return *integer;
    const double* real = std::get_if<double>(&value_);
    if (real == nullptr || *real != std::trunc(*real) || *real < -0x1p63 || *real >= 0x1p63) return std::nullopt;
    return static_cast<std::int64_t>(*real);
}

PropertyList PropertyList::read(JSONReader& reader) {
    switch (reader.kind()) {
        case JSONReader::Kind::null: {
            reader.skip();
            return {};
        }
        case JSONReader::Kind::boolean: {
            bool boolean = false;
            reader.read(boolean);
            return boolean;
        }
        case JSONReader::Kind::number: {
            std::int64_t integer = 0;
            if (reader.isWrittenAsInteger() && reader.readIfInRange(integer)) return integer;
            double real = 0;
            reader.read(real);
            return real;
        }
        case JSONReader::Kind::text: {
            std::string text;
            reader.read(text);
            return text;
        }
        case JSONReader::Kind::array: {
            Array array;
            reader.array([&](JSONReader& element) { array.push_back(read(element)); });
            return array;
        }
        case JSONReader::Kind::object:
            break;
    }
    return readDictionary(reader);
}

void PropertyList::write(JSONWriter& writer) const {
    const auto visit = [&]<class Value>(const Value& value) {
        if constexpr (std::is_same_v<Value, std::monostate>) {
            writer.null();
        } else if constexpr (std::is_same_v<Value, Data>) {
            writer.value(base64Encoded(value));
        } else if constexpr (std::is_same_v<Value, Array>) {
            writer.beginArray();
            for (const auto& element : value)
                element.write(writer);
            writer.endArray();
        } else if constexpr (std::is_same_v<Value, Dictionary>) {
            Foundation::write(writer, value);
        } else {
            writer.value(value);
        }
    };
    std::visit(visit, value_);
}

Dictionary readDictionary(JSONReader& reader) {
    Dictionary dictionary;
    reader.object([&](std::string_view key, JSONReader& value) {
        dictionary.insert_or_assign(std::string(key), PropertyList::read(value));
    });
    return dictionary;
}

Dictionary parseDictionary(std::string_view json) {
    Dictionary dictionary;
    parseJSON(json, [&](JSONReader& reader) { dictionary = readDictionary(reader); });
    return dictionary;
}

void write(JSONWriter& writer, const Dictionary& dictionary) {
    writer.beginObject();
    for (const auto& [key, value] : dictionary)
        value.write(writer.key(key));
    writer.endObject();
}

const PropertyList* find(const Dictionary& dictionary, std::string_view key) {
    const auto found = dictionary.find(key);
    return found == dictionary.end() ? nullptr : &found->second;
}

std::string textOrEmpty(const Dictionary& dictionary, std::string_view key) {
    const PropertyList* value = find(dictionary, key);
    const std::string* text = value == nullptr ? nullptr : value->text();
    return text == nullptr ? std::string() : *text;
}

}  // namespace Foundation
