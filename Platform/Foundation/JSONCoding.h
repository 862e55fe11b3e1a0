#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>

#include "Foundation/Hash.h"
#include "Foundation/JSONReader.h"
#include "Foundation/JSONWriter.h"
#include "Foundation/URL.h"

/// Records and their JSON: one table per type, which decoding and encoding walk.
///
///     template <>
///     constexpr auto Foundation::fields<Server> = std::tuple{required("url", &Server::url),
///                                                            optional("port", &Server::port)};
namespace Foundation {

enum class Presence {
    required,   ///< missing or null is an error
    defaulted,  ///< missing or null leaves the member's own default
    optional    ///< missing or null is an absent optional, which is left out when written
};

template <class Record, class Member>
struct Field {
    std::string_view key;
    Member Record::*member;
    Presence presence;
};

template <class Record, class Member>
constexpr Field<Record, Member> required(std::string_view key, Member Record::*member) {
    return {key, member, Presence::required};
}

template <class Record, class Member>
constexpr Field<Record, Member> defaulted(std::string_view key, Member Record::*member) {
    return {key, member, Presence::defaulted};
}

template <class Record, class Member>
constexpr Field<Record, std::optional<Member>> optional(std::string_view key, std::optional<Member> Record::*member) {
    return {key, member, Presence::optional};
}

/// The table of a record; specialised beside the record's operations.
template <class Record>
inline constexpr auto fields = nullptr;

template <class Record>
concept HasFields = !std::is_null_pointer_v<std::remove_cv_t<decltype(fields<Record>)>>;

namespace detail {

struct Anything {
    template <class T>
    operator T() const { return T(); }
};

/// How many members an aggregate has.
template <class Record, class... Found>
constexpr std::size_t memberCount() {
    if constexpr (requires { Record{Found{}..., Anything{}}; })
        return memberCount<Record, Found..., Anything>();
    else
        return sizeof...(Found);
}

}  // namespace detail

/// Reads a record. Unknown keys are passed over; of equal keys the last one wins. Throws `DecodingError`.
template <HasFields Record>
Record decode(JSONReader& reader);

/// Writes a record, its keys in the table's order. Throws `std::invalid_argument` for what JSON cannot hold.
template <HasFields Record>
void encode(JSONWriter& writer, const Record& record);

namespace detail {

template <class Value>
void decodeValue(JSONReader& reader, Value& value) {
    if constexpr (HasFields<Value>) {
        value = decode<Value>(reader);
    } else if constexpr (std::is_same_v<Value, URL>) {
        std::string text;
        reader.read(text);
        auto url = URL::parse(text);
        if (!url) reader.failExpecting("a URL");
        value = *std::move(url);
    } else {
        reader.read(value);
    }
}

template <class Value>
void encodeValue(JSONWriter& writer, const Value& value) {
    if constexpr (HasFields<Value>)
        encode(writer, value);
    else if constexpr (std::is_same_v<Value, URL>)
        writer.value(value.absoluteString());
    else
        writer.value(value);
}

template <class Record, class Member>
void decodeField(JSONReader& reader, const Field<Record, Member>& field, Record& record) {
    Member& member = record.*(field.member);
    if (field.presence != Presence::required && reader.null()) return;
    if constexpr (requires { member.emplace(); })
        decodeValue(reader, member.emplace());
    else
        decodeValue(reader, member);
}

template <class Record, class Member>
void encodeField(JSONWriter& writer, const Field<Record, Member>& field, const Record& record) {
    const Member& member = record.*(field.member);
    if constexpr (requires { member.has_value(); }) {
        if (!member) return;
        encodeValue(writer.key(field.key), *member);
    } else {
        encodeValue(writer.key(field.key), member);
    }
}

}  // namespace detail

template <HasFields Record>
Record decode(JSONReader& reader) {
    constexpr auto table = fields<Record>;
    constexpr std::size_t count = std::tuple_size_v<decltype(table)>;
    static_assert(count == detail::memberCount<Record>(), "every member needs its row");

    Record record{};
    std::array<bool, count> seen{};
    reader.object([&](std::string_view key, JSONReader& value) {
        std::apply(
            [&](const auto&... rows) {
                std::size_t row = 0;
                const auto take = [&](const auto& field) {
                    if (key != field.key) return ++row, false;
                    if (seen[row]) record.*(field.member) = Record{}.*(field.member);
                    detail::decodeField(value, field, record);
                    return seen[row] = true;
                };
                (void)(take(rows) || ...);
            },
            table);
    });
    std::apply(
        [&](const auto&... rows) {
            std::size_t row = 0;
            const auto check = [&](const auto& field) {
                if (!seen[row++] && field.presence == Presence::required) reader.failMissing(field.key);
            };
            (check(rows), ...);
        },
        table);
    return record;
}

template <HasFields Record>
void encode(JSONWriter& writer, const Record& record) {
    static_assert(std::tuple_size_v<decltype(fields<Record>)> == detail::memberCount<Record>(),
                  "every member needs its row");
    writer.beginObject();
    std::apply([&](const auto&... rows) { (detail::encodeField(writer, rows, record), ...); }, fields<Record>);
    writer.endObject();
}

/// A hash over all of a record's members.
template <HasFields Record>
std::size_t hashFields(const Record& record) {
    return std::apply([&](const auto&... rows) { return hashOf(record.*(rows.member)...); }, fields<Record>);
}

/// A record from its JSON text. Throws `DecodingError`.
template <HasFields Record>
Record decodeJSON(std::string_view text) {
    std::optional<Record> record;
    parseJSON(text, [&](JSONReader& reader) { record = decode<Record>(reader); });
    return *std::move(record);
}

/// A record as compact JSON. Throws `std::invalid_argument` for what JSON cannot hold.
template <HasFields Record>
std::string encodeJSON(const Record& record) {
    JSONWriter writer;
    encode(writer, record);
    return std::move(writer).text();
}

}  // namespace Foundation
