#include "Support.h"

#include <cmath>

#include "Foundation/DecodingError.h"
#include "Foundation/JSONReader.h"
#include "Foundation/OtherJSON.h"
#include "Foundation/PropertyList.h"

using namespace Foundation;
using Fuzzing::check;
using nlohmann::json;

namespace {

/// Whether the value is what the other library has read. The value's numbers are compared here, for a property list
/// tells nothing of reals.
bool isSame(JSONReader& value, const json& other) {
    switch (value.kind()) {
        case JSONReader::Kind::null:
            return value.null() && other.is_null();
        case JSONReader::Kind::boolean: {
            bool boolean = false;
            value.read(boolean);
            return other == boolean;
        }
        case JSONReader::Kind::number: {
            double real = 0;
            std::int64_t integer = 0;
            const bool isInteger = value.readIfInRange(integer);
            value.read(real);
            if (isInteger && other.is_number_integer() && other.get<std::int64_t>() != integer) return false;
            if (isInteger && std::abs(real) < 0x1p53 && static_cast<double>(integer) != real) return false;
            return other.is_number() && other.get<double>() == real &&
                   !(other.is_number_integer() && real < 0x1p63 && real >= -0x1p63 && !isInteger);
        }
        case JSONReader::Kind::text: {
            std::string text;
            value.read(text);
            return other == text;
        }
        case JSONReader::Kind::array: {
            std::size_t count = 0;
            bool areSame = other.is_array();
            value.array([&](JSONReader& element) {
                if (areSame && count < other.size()) areSame = isSame(element, other[count]);
                ++count;
            });
            return areSame && count == other.size();
        }
        case JSONReader::Kind::object: {
            std::map<std::string, bool> members;  // of equal keys the last counts
            value.object([&](std::string_view key, JSONReader& member) {
                const auto found = other.is_object() ? other.find(std::string(key)) : other.end();
                members[std::string(key)] = found != other.end() && isSame(member, *found);
            });
            return other.is_object() && members.size() == other.size() &&
                   std::all_of(members.begin(), members.end(), [](const auto& member) { return member.second; });
        }
    }
    return false;
}

bool parses(std::string_view text, FunctionRef<void(JSONReader&)> read) {
    return Fuzzing::unless<DecodingError>([&] {
               parseJSON(text, read);
               return true;
           })
        .has_value();
}

}  // namespace

/// A JSON text: it is read as another library reads it, and what is passed over is checked just as well.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = Fuzzing::textView(data, size);
    const bool isJSON = parses(text, [](JSONReader& value) { value.skip(); });
    const bool isUnreadJSON = parses(text, [](JSONReader&) {});
    check(isJSON == isUnreadJSON, "what is left unread is checked", text);
    const auto other = Fuzzing::otherJSON(text);
    if (!other) return 0;
    if (isJSON || Fuzzing::depthLimit(text) <= JSONReader::maximumDepth)
        check(isJSON == !other->is_discarded(), "what is JSON is JSON", text);
    if (!isJSON) return 0;
    check(parses(text, [&](JSONReader& value) { check(isSame(value, *other), "values are read alike", text); }),
          "what can be passed over can be read", text);
    return 0;
}
