#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

#include "Foundation/Hash.h"
#include "Foundation/JSONReader.h"
#include "Foundation/JSONWriter.h"
#include "Foundation/KeyIndex.h"
#include "Foundation/URL.h"
#include "Foundation/WireNames.h"

/// Records and their JSON: one table per type, which decoding, encoding and hashing walk.
///
///     template <>
///     constexpr auto Foundation::fields<Server> = std::tuple{required("url", &Server::url),
///                                                            optional("port", &Server::port)};
///
/// A member is a text, a boolean, an integer of 64 bits, a URL, an enumeration with `wireNames`, a record, an optional,
/// a list, a set or a map from texts of these, or a type with an `OwnCoder`. One whose JSON has a shape of its own names a
/// coder: a type with the static functions `decode(JSONReader&, Member&)`, given the member's default, and
/// `encode(JSONWriter&, const Member&)`, as in `defaulted<IDsOfObjects>("participants", &Thread::participantIDs)`.
namespace Foundation {

enum class Presence {
    required,   ///< missing or null is an error
    defaulted,  ///< missing or null leaves the member's own default
    optional    ///< missing or null is an absent optional, which is left out when written
};

/// When a row's second key is looked at.
enum class Instead {
    never,
    ofMissingOrNull,  ///< where the first key is missing or null
    ofMissing         ///< where the first key is missing
};

/// The coder of a type whose JSON has a shape of its own; specialised beside it.
template <class Value>
struct OwnCoder;

/// A value coded by its type alone.
struct ByType {
    template <class Value>
    static void decode(JSONReader& reader, Value& value);
    template <class Value>
    static void encode(JSONWriter& writer, const Value& value);
};

template <class Record, class Member, class Coder = ByType, class OtherCoder = ByType>
struct Field {
    using FirstCoder = Coder;
    using SecondCoder = OtherCoder;

    std::string_view key;
    Member Record::*member;
    Presence presence;
    Instead instead = Instead::never;
    std::string_view otherKey = {};

    /// A second key, which is only ever read. Its value counts where the first key is missing or null.
    template <class Other>
    constexpr Field<Record, Member, Coder, Other> orElse(std::string_view other) const {
        return {key, member, presence, Instead::ofMissingOrNull, other};
    }

    /// The same, where the first key is missing; null keeps its meaning.
    template <class Other>
    constexpr Field<Record, Member, Coder, Other> ifMissing(std::string_view other) const {
        return {key, member, presence, Instead::ofMissing, other};
    }
};

template <class Coder = ByType, class Record, class Member>
constexpr Field<Record, Member, Coder> required(std::string_view key, Member Record::*member) {
    return {key, member, Presence::required};
}

template <class Coder = ByType, class Record, class Member>
constexpr Field<Record, Member, Coder> defaulted(std::string_view key, Member Record::*member) {
    return {key, member, Presence::defaulted};
}

template <class Coder = ByType, class Record, class Member>
constexpr Field<Record, std::optional<Member>, Coder> optional(std::string_view key,
                                                               std::optional<Member> Record::*member) {
    return {key, member, Presence::optional};
}

/// The table of a record; specialised beside the record's operations.
template <class Record>
inline constexpr auto fields = nullptr;

template <class Record>
concept HasFields = !std::is_null_pointer_v<std::remove_cv_t<decltype(fields<Record>)>>;

/// Reads a record into one that holds its defaults. Unknown keys are passed over; of equal keys the last one wins.
/// Throws `DecodingError`.
template <HasFields Record>
void decode(JSONReader& reader, Record& record);

/// Writes a record, its keys in the table's order. Throws `std::invalid_argument` for what JSON cannot hold.
template <HasFields Record>
void encode(JSONWriter& writer, const Record& record);

namespace detail {

struct Anything {
    template <class T>
    operator T() const {
        return T();
    }
};

/// How many members an aggregate has.
template <class Record, class... Found>
constexpr std::size_t memberCount() {
    if constexpr (requires { Record{Found{}..., Anything{}}; })
        return memberCount<Record, Found..., Anything>();
    else
        return sizeof...(Found);
}

template <class Record>
inline constexpr std::size_t rowCount = std::tuple_size_v<std::remove_cv_t<decltype(fields<Record>)>>;

/// The keys of a table, the rows' first and then their second ones.
template <class Record>
constexpr auto keysOf() {
    return std::apply([](const auto&... rows) { return std::array{rows.key..., rows.otherKey...}; }, fields<Record>);
}

template <class Record>
inline constexpr KeyIndex<2 * rowCount<Record>> keyIndex{keysOf<Record>()};

template <class Enumeration>
std::string listOfNames() {
    std::string list;
    for (const std::string_view name : wireNames<Enumeration>)
        list.append(list.empty() ? "one of \"" : "\", \"").append(name);
    return list + '"';
}

/// How many rows of a table in front of this one have a second key.
template <class Record>
constexpr std::size_t secondKeysBefore(std::size_t row) {
    std::size_t count = 0;
    for (std::size_t number = rowCount<Record>; number < rowCount<Record> + row; ++number)
        if (!keysOf<Record>()[number].empty()) ++count;
    return count;
}

/// What is known of a record while its object is being read.
template <class Record>
struct Progress {
    std::uint32_t keysSeen = 0;    // one bit a row: its first key was there
    std::uint32_t valuesRead = 0;  // and held a value other than null
    // Where the value of each second key stands.
    std::array<JSONReader::Place, secondKeysBefore<Record>(rowCount<Record>)> others{};
};

/// Gives a member its default back, for a key that comes again.
template <class Record, class Member>
[[gnu::noinline]] void reset(Record& record, Member Record::*member) {
    const Record defaults{};
    record.*member = defaults.*member;
}

template <std::size_t row, class Record>
void takeField(JSONReader& value, Record& record, Progress<Record>& progress) {
    constexpr auto field = std::get<row>(fields<Record>);
    constexpr std::uint32_t bit = std::uint32_t{1} << row;
    if ((progress.keysSeen & bit) != 0) reset(record, field.member);
    progress.keysSeen |= bit;
    progress.valuesRead &= ~bit;
    if (field.presence != Presence::required && value.null()) return;
    decltype(field)::FirstCoder::decode(value, record.*(field.member));
    progress.valuesRead |= bit;
}

/// Takes the value of the key with this number; false if it is another key.
template <std::size_t number, class Record>
bool takeMember(std::string_view key, JSONReader& value, Record& record, Progress<Record>& progress) {
    constexpr std::string_view expected = keysOf<Record>()[number];
    if constexpr (!expected.empty()) {
        // Its length is known when the program is compiled, which makes this a few instructions.
        if (key.size() != expected.size() || std::memcmp(key.data(), expected.data(), expected.size()) != 0)
            return false;
        if constexpr (number < rowCount<Record>)
            takeField<number>(value, record, progress);
        else
            progress.others[secondKeysBefore<Record>(number - rowCount<Record>)] = value.place();
    }
    return true;
}

/// The function above for each key's number.
template <class Record>
inline constexpr auto takers = []<std::size_t... numbers>(std::index_sequence<numbers...>) {
    return std::array{&takeMember<numbers, Record>...};
}
(std::make_index_sequence<2 * rowCount<Record>>());

/// Sees to a row whose first key gave no value.
template <std::size_t row, class Record>
void finishField(JSONReader& reader, Record& record, const Progress<Record>& progress) {
    constexpr auto field = std::get<row>(fields<Record>);
    constexpr std::uint32_t bit = std::uint32_t{1} << row;
    if constexpr (field.presence == Presence::required) {
        if ((progress.keysSeen & bit) == 0) reader.failMissing(field.key);
    }
    if constexpr (field.instead != Instead::never) {
        const JSONReader::Place place = progress.others[secondKeysBefore<Record>(row)];
        const std::uint32_t known = field.instead == Instead::ofMissing ? progress.keysSeen : progress.valuesRead;
        if ((known & bit) == 0 && place != nullptr)
            reader.revisit(place, [&](JSONReader& value) {
                if (!value.null()) decltype(field)::SecondCoder::decode(value, record.*(field.member));
            });
    }
}

template <class Record, class Member, class Coder, class Other>
void encodeField(JSONWriter& writer, const Field<Record, Member, Coder, Other>& field, const Record& record) {
    const Member& member = record.*(field.member);
    if constexpr (requires { member.has_value(); }) {
        if (!member) return;
    }
    Coder::encode(writer.key(field.key), member);
}

}  // namespace detail

template <class Value>
void ByType::decode(JSONReader& reader, Value& value) {
    if constexpr (requires { OwnCoder<Value>::decode(reader, value); }) {
        OwnCoder<Value>::decode(reader, value);
    } else if constexpr (HasFields<Value>) {
        Foundation::decode(reader, value);
    } else if constexpr (requires { reader.read(value); }) {
        reader.read(value);
    } else if constexpr (HasWireNames<Value>) {
        std::string name;
        reader.read(name);
        const auto named = fromWireName<Value>(name);
        if (!named) reader.failExpecting(detail::listOfNames<Value>());
        value = *named;
    } else if constexpr (std::is_same_v<Value, URL>) {
        std::string text;
        reader.read(text);
        auto url = URL::parse(text);
        if (!url) reader.failExpecting("a URL");
        value = *std::move(url);
    } else if constexpr (requires { value.has_value(); }) {
        decode(reader, value.emplace());
    } else if constexpr (requires { value.emplace_back(); }) {
        // Lists are mostly short: to grow would cost more than to count.
        constexpr std::size_t shortList = 32;
        value.reserve(reader.count(shortList));
        reader.array([&](JSONReader& element) { decode(element, value.emplace_back()); });
    } else if constexpr (requires { requires std::is_same_v<typename Value::key_type, typename Value::value_type>; }) {
        reader.array([&](JSONReader& element) {
            typename Value::value_type member{};
            decode(element, member);
            value.insert(std::move(member));
        });
    } else {
        reader.object([&](std::string_view key, JSONReader& member) {
            // Servers write the keys of a map in their order, mostly.
            const std::size_t size = value.size();
            const auto entry = value.try_emplace(value.end(), typename Value::key_type(key));
            if (value.size() == size) entry->second = {};
            decode(member, entry->second);
        });
    }
}

template <class Value>
void ByType::encode(JSONWriter& writer, const Value& value) {
    if constexpr (requires { OwnCoder<Value>::encode(writer, value); }) {
        OwnCoder<Value>::encode(writer, value);
    } else if constexpr (HasFields<Value>) {
        Foundation::encode(writer, value);
    } else if constexpr (HasWireNames<Value>) {
        writer.value(wireName(value));
    } else if constexpr (std::is_same_v<Value, URL>) {
        writer.value(value.absoluteString());
    } else if constexpr (requires { value.has_value(); }) {
        encode(writer, *value);
    } else if constexpr (requires { writer.value(value); }) {
        writer.value(value);
    } else if constexpr (requires { value.begin()->second; }) {
        writer.beginObject();
        for (const auto& [key, member] : value)
            encode(writer.key(key), member);
        writer.endObject();
    } else {
        writer.beginArray();
        for (const auto& element : value)
            encode(writer, element);
        writer.endArray();
    }
}

template <HasFields Record>
void decode(JSONReader& reader, Record& record) {
    constexpr std::size_t count = detail::rowCount<Record>;
    static_assert(count == detail::memberCount<Record>(), "every member needs its row");
    static_assert(count <= std::numeric_limits<std::uint32_t>::digits);

    detail::Progress<Record> progress;
    const auto take = [&](std::string_view key, JSONReader& value) {
        const std::size_t number = detail::keyIndex<Record>.find(key);
        return number < detail::takers<Record>.size() && detail::takers<Record>[number](key, value, record, progress);
    };
    std::string buffer;
    reader.objectWithRawKeys([&](std::string_view key, JSONReader& value) {
        // No key of a table has an escape: only one that is none of them may have been spelled with some.
        if (take(key, value)) return;
        if (const std::string_view unescaped = reader.unescaped(key, buffer); unescaped.data() != key.data())
            take(unescaped, value);
    });
    [&]<std::size_t... rows>(std::index_sequence<rows...>) {
        (detail::finishField<rows>(reader, record, progress), ...);
    }
    (std::make_index_sequence<count>());
}

template <HasFields Record>
void encode(JSONWriter& writer, const Record& record) {
    static_assert(detail::rowCount<Record> == detail::memberCount<Record>(), "every member needs its row");
    writer.beginObject();
    std::apply([&](const auto&... rows) { (detail::encodeField(writer, rows, record), ...); }, fields<Record>);
    writer.endObject();
}

/// A hash over all of a record's members.
template <HasFields Record>
std::size_t hashFields(const Record& record) {
    return std::apply([&](const auto&... rows) { return hashOf(record.*(rows.member)...); }, fields<Record>);
}

/// A value from its JSON text. Throws `DecodingError`.
template <class Value>
Value decodeJSON(std::string_view text) {
    Value value{};
    parseJSON(text, [&](JSONReader& reader) { ByType::decode(reader, value); });
    return value;
}

/// A value as compact JSON. Throws `std::invalid_argument` for what JSON cannot hold.
template <class Value>
std::string encodeJSON(const Value& value) {
    JSONWriter writer;
    ByType::encode(writer, value);
    return std::move(writer).text();
}

}  // namespace Foundation
