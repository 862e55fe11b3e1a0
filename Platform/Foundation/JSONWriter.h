#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Foundation {

/// Writes one compact JSON text (RFC 8259), its keys in the order they are given; "/" is not escaped.
/// The caller opens and closes in pairs and gives a key before each value of an object.
class JSONWriter {
public:
    JSONWriter& beginObject();
    JSONWriter& endObject();
    JSONWriter& beginArray();
    JSONWriter& endArray();

    JSONWriter& key(std::string_view key);

    /// Throws `std::invalid_argument` for text that is not UTF-8.
    JSONWriter& value(std::string_view text);
    JSONWriter& value(const char* text) { return value(std::string_view(text)); }
    JSONWriter& value(const std::string& text) { return value(std::string_view(text)); }
    JSONWriter& value(bool boolean);
    JSONWriter& value(std::int64_t integer);

    /// The shortest digits that read back as the same number, in plain notation from 1e-5 to below 1e16.
    /// Throws `std::invalid_argument` for NaN and the infinities.
    JSONWriter& value(double real);
    JSONWriter& null();

    /// The value, or null where there is none.
    template <class Value>
    JSONWriter& value(const std::optional<Value>& optional) {
        return optional ? value(*optional) : null();
    }

    /// A value that is already JSON, taken as it stands.
    JSONWriter& raw(std::string_view json);

    const std::string& text() const& { return text_; }
    std::string text() && { return std::move(text_); }

private:
    void separate();
    void quote(std::string_view text);

    std::string text_;
    bool needsComma_ = false;
};

}  // namespace Foundation
