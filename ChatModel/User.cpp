#include "ChatModel/User.h"

#include "ChatModel/EntityCoding.h"
#include "ChatModel/JSONValueCoding.h"
#include "ChatModel/UserStatus.h"
#include "Text/WhiteSpace.h"

using ChatModel::CustomStatus;
using ChatModel::User;
using Foundation::Date;
using Foundation::JSONReader;
using Foundation::JSONWriter;

namespace {

/// RFC 3339 text. The server writes the year 1 for "never".
struct Expiry {
    static void decode(JSONReader& reader, std::optional<Date>& expiry) {
        std::string text;
        reader.read(text);
        expiry = Date::fromRFC3339(text);
        if (!expiry) reader.failExpecting("an RFC 3339 time with its offset");
        if (*expiry <= Date{0}) expiry.reset();
    }

    static void encode(JSONWriter& writer, const std::optional<Date>& expiry) { writer.value(expiry->rfc3339()); }
};

}  // namespace

template <>
constexpr auto Foundation::fields<CustomStatus> = std::tuple{
    defaulted("emoji", &CustomStatus::emoji),
    defaulted("text", &CustomStatus::text),
    defaulted("duration", &CustomStatus::duration),
    optional<Expiry>("expires_at", &CustomStatus::expiresAt),
};

namespace {

/// The user's free properties, one of which is a text that is itself a status' JSON.
struct StatusInProperties {
    static void decode(JSONReader& reader, std::optional<CustomStatus>& status) {
        ChatModel::JSONValue::Object properties;
        Foundation::ByType::decode(reader, properties);
        const std::string* const text = ChatModel::findString(properties, "customStatus");
        if (text == nullptr) return;
        try {
            status = Foundation::decodeJSON<CustomStatus>(*text);
        } catch (const Foundation::DecodingError&) {
            // Whatever else users' properties hold, it is no status.
        }
    }
};

}  // namespace

template <>
constexpr auto Foundation::fields<User> = std::tuple{
    required("id", &User::id),
    required("username", &User::username),
    optional("email", &User::email),
    required("nickname", &User::nickname),
    required("first_name", &User::firstName),
    required("last_name", &User::lastName),
    defaulted("notify_props", &User::notifyProps),
    optional("custom_status", &User::customStatus).ifMissing<StatusInProperties>("props"),
};

template struct ChatModel::ServerJSON<CustomStatus>;
template struct ChatModel::ServerJSON<User>;

std::string User::fullName() const {
    return firstName.empty() || lastName.empty() ? firstName + lastName : firstName + ' ' + lastName;
}

std::string User::displayName(NameFormat format) const {
    if (format == NameFormat::username) return username;
    std::string name = format == NameFormat::nicknameFullName && !nickname.empty() ? nickname : fullName();
    // Deliberately not trimmed: blanks count only where there is nothing else.
    return Text::trimmedOfBlanks(name).empty() ? username : name;
}

std::size_t std::hash<CustomStatus>::operator()(const CustomStatus& status) const noexcept {
    return Foundation::hashFields(status);
}

std::size_t std::hash<ChatModel::UserStatusSnapshot>::operator()(
    const ChatModel::UserStatusSnapshot& snapshot) const noexcept {
    return Foundation::hashOf(snapshot.status, snapshot.dndEndTime, snapshot.customStatus);
}

std::size_t std::hash<User>::operator()(const User& user) const noexcept {
    return Foundation::hashFields(user);
}
