#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "Foundation/Data.h"
#include "Foundation/JSONReader.h"
#include "Foundation/JSONWriter.h"

namespace Foundation {

/// A value of a bundle's information or of a notification's user information: text, boolean, integer, real, data,
/// array, dictionary, or null. Null comes from JSON alone; it is kept, and counts as another kind everywhere.
///
/// Numbers bridge as the platform's do: an integer or real that equals 0 or 1 counts as a boolean, a real without
/// fraction and within range counts as an integer. Text counts as neither, and a boolean is never an integer.
class PropertyList {
public:
    using Array = std::vector<PropertyList>;
    using Dictionary = std::map<std::string, PropertyList, std::less<>>;

    PropertyList() = default;
    PropertyList(std::string text) : value_(std::move(text)) {}
    PropertyList(std::string_view text) : value_(std::string(text)) {}
    PropertyList(const char* text) : value_(std::string(text)) {}
    PropertyList(bool boolean) : value_(boolean) {}
    PropertyList(int integer) : value_(std::int64_t{integer}) {}
    PropertyList(std::int64_t integer) : value_(integer) {}
    PropertyList(double real) : value_(real) {}
    PropertyList(Data data) : value_(std::move(data)) {}
    PropertyList(Array array) : value_(std::move(array)) {}
    PropertyList(Dictionary dictionary) : value_(std::move(dictionary)) {}

    /// The text; null where the value is of another kind. Valid as long as the value is.
    const std::string* text() const { return std::get_if<std::string>(&value_); }
    const Array* array() const { return std::get_if<Array>(&value_); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&value_); }

    /// The value as a boolean or an integer, bridged as above; absent where it counts as none.
    std::optional<bool> boolean() const;
    std::optional<std::int64_t> integer() const;

    friend bool operator==(const PropertyList&, const PropertyList&) = default;

    /// Reads any JSON value. A number written with digits alone is an integer where it fits into 64 bits, else a real.
    static PropertyList read(JSONReader& reader);

    /// Writes the value as JSON, data as base64 text. Throws `std::invalid_argument` for text that is not UTF-8 and
    /// for reals that JSON cannot hold.
    void write(JSONWriter& writer) const;

private:
    std::variant<std::monostate, std::string, bool, std::int64_t, double, Data, Array, Dictionary> value_;
};

using Dictionary = PropertyList::Dictionary;

/// Reads a JSON object. Throws `DecodingError` for any other kind.
Dictionary readDictionary(JSONReader& reader);

/// The dictionary in a JSON text. Throws `DecodingError`.
Dictionary parseDictionary(std::string_view json);

/// Writes a dictionary as a JSON object.
void write(JSONWriter& writer, const Dictionary& dictionary);

/// The value under the key, or null where there is none. Valid as long as the dictionary is unchanged.
const PropertyList* find(const Dictionary& dictionary, std::string_view key);

/// The text under the key; the empty text where the key is missing or its value is of another kind.
std::string textOrEmpty(const Dictionary& dictionary, std::string_view key);

}  // namespace Foundation
