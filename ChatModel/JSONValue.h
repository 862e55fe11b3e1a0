#pragma once

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace ChatModel {

/// A JSON value (RFC 8259) whose shape the model does not fix, such as a property of a post:
///
///     {"from_webhook":"true","attachments":[{"text":"…"}]}
///
/// Six cases. Numbers are doubles, integral ones too; kinds never convert into one another. Equality is structural.
class JSONValue {
public:
    using Array = std::vector<JSONValue>;
    using Object = std::map<std::string, JSONValue, std::less<>>;
    using Null = std::monostate;

    /// The cases' order is not that of their hashes.
    using Case = std::variant<bool, double, std::string, Array, Object, Null>;

    JSONValue() : case_(Null()) {}
    JSONValue(bool boolean) : case_(boolean) {}
    JSONValue(double number) : case_(number) {}
    JSONValue(int number) : case_(static_cast<double>(number)) {}
    JSONValue(std::string string) : case_(std::move(string)) {}
    JSONValue(std::string_view string) : case_(std::string(string)) {}
    JSONValue(const char* string) : case_(std::string(string)) {}
    JSONValue(Array array) : case_(std::move(array)) {}
    JSONValue(Object object) : case_(std::move(object)) {}

    /// The text; null where the value is of another case. Valid as long as the value is.
    const std::string* stringValue() const { return std::get_if<std::string>(&case_); }

    /// The boolean; absent where the value is of another case. Neither "true" nor 1 is a boolean.
    std::optional<bool> boolValue() const {
        const bool* const boolean = std::get_if<bool>(&case_);
        return boolean == nullptr ? std::nullopt : std::optional(*boolean);
    }

    /// The case and its payload, to match on: `std::get_if<JSONValue::Array>(&value.matched())`.
    const Case& matched() const { return case_; }

    friend bool operator==(const JSONValue&, const JSONValue&) = default;

private:
    friend struct JSONValueCoding;

    Case case_;
};

/// The property under the key, or null where there is none. Valid as long as the object is unchanged.
inline const JSONValue* find(const JSONValue::Object& object, std::string_view key) {
    const auto found = object.find(key);
    return found == object.end() ? nullptr : &found->second;
}

/// The text under the key; null where the key is missing or its value is of another case.
inline const std::string* findString(const JSONValue::Object& object, std::string_view key) {
    const JSONValue* const value = find(object, key);
    return value == nullptr ? nullptr : value->stringValue();
}

/// The boolean under the key; absent where the key is missing or its value is of another case.
inline std::optional<bool> findBool(const JSONValue::Object& object, std::string_view key) {
    const JSONValue* const value = find(object, key);
    return value == nullptr ? std::nullopt : value->boolValue();
}

}  // namespace ChatModel

template <>
struct std::hash<ChatModel::JSONValue> {
    std::size_t operator()(const ChatModel::JSONValue& value) const noexcept;
};
