#include "ChatModel/MessageAttachment.h"

#include <algorithm>
#include <cmath>

#include "ChatModel/AttachmentCoding.h"
#include "ChatModel/EntityCoding.h"
#include "ChatModel/JSONValueCoding.h"

using ChatModel::JSONValue;
using ChatModel::MessageAttachment;
using Action = MessageAttachment::Action;
using Option = MessageAttachment::Action::Option;

template <>
constexpr auto Foundation::fields<MessageAttachment::Field> = std::tuple{
    defaulted("title", &MessageAttachment::Field::title),
    defaulted("value", &MessageAttachment::Field::value),
    defaulted("short", &MessageAttachment::Field::short_),
};

template <>
constexpr auto Foundation::fields<Option> = std::tuple{
    required("text", &Option::text),
    required("value", &Option::value),
};

template <>
constexpr auto Foundation::fields<Action> = std::tuple{
    defaulted("id", &Action::id),
    required("type", &Action::kind),
    defaulted("name", &Action::name),
    defaulted("style", &Action::style),
    defaulted("disabled", &Action::disabled),
    defaulted("data_source", &Action::dataSource),
    defaulted("options", &Action::options),
    defaulted("default_option", &Action::defaultOption),
    defaulted("cookie", &Action::cookie),
};

template <>
constexpr auto Foundation::fields<MessageAttachment> = std::tuple{
    defaulted("fallback", &MessageAttachment::fallback),      defaulted("color", &MessageAttachment::color),
    defaulted("pretext", &MessageAttachment::pretext),        defaulted("author_name", &MessageAttachment::authorName),
    defaulted("author_link", &MessageAttachment::authorLink), defaulted("title", &MessageAttachment::title),
    defaulted("title_link", &MessageAttachment::titleLink),   defaulted("text", &MessageAttachment::text),
    defaulted("fields", &MessageAttachment::fields),          defaulted("image_url", &MessageAttachment::imageURL),
    defaulted("thumb_url", &MessageAttachment::thumbURL),     defaulted("footer", &MessageAttachment::footer),
    defaulted("actions", &MessageAttachment::actions),
};

namespace {

/// Each of these takes a value over where it is of the member's kind, and answers whether it is.
bool take(const JSONValue& value, std::string& text) {
    const std::string* const string = value.stringValue();
    if (string != nullptr) text = *string;
    return string != nullptr;
}

bool take(const JSONValue& value, bool& flag) {
    const auto boolean = value.boolValue();
    flag = boolean.value_or(flag);
    return boolean.has_value();
}

bool take(const JSONValue& value, Action::Kind& kind) {
    const std::string* const name = value.stringValue();
    const auto named = name == nullptr ? std::nullopt : Foundation::fromWireName<Action::Kind>(*name);
    kind = named.value_or(kind);
    return named.has_value();
}

bool isNull(const JSONValue* value) {
    return value == nullptr || std::holds_alternative<JSONValue::Null>(value->matched());
}

/// Walks the record's table; a row of the wrong kind, or a required one that is missing, makes it none.
template <Foundation::HasFields Record>
bool take(const JSONValue& value, Record& record);
template <class Element>
bool take(const JSONValue& value, std::vector<Element>& list);
bool take(const JSONValue& value, MessageAttachment::Field& field);
bool take(const JSONValue& value, std::vector<Action>& actions);
bool take(const JSONValue& value, MessageAttachment& attachment);

template <Foundation::HasFields Record>
bool take(const JSONValue& value, Record& record) {
    const auto* const object = std::get_if<JSONValue::Object>(&value.matched());
    if (object == nullptr) return false;
    const auto takeRow = [&](const auto& row) {
        const JSONValue* const member = ChatModel::find(*object, row.key);
        if (isNull(member)) return row.presence != Foundation::Presence::required;
        return take(*member, record.*(row.member));
    };
    return std::apply([&](const auto&... rows) { return (takeRow(rows) && ...); }, Foundation::fields<Record>);
}

template <class Element>
bool take(const JSONValue& value, std::vector<Element>& list) {
    const auto* const array = std::get_if<JSONValue::Array>(&value.matched());
    return array != nullptr && std::all_of(array->begin(), array->end(), [&](const JSONValue& element) {
               return take(element, list.emplace_back());
           });
}

/// A number as a person writes it.
std::string textOf(double number) {
    if (std::isinf(number)) return {};
    Foundation::JSONWriter writer;
    if (number == std::round(number) && number >= -0x1p63 && number < 0x1p63)
        writer.value(static_cast<std::int64_t>(number));
    else
        writer.value(number);
    return std::move(writer).text();
}

/// A field's value as text; the empty one for what cannot be written out.
std::string textOf(const JSONValue& value) {
    const auto& payload = value.matched();
    if (const auto* boolean = std::get_if<bool>(&payload)) return *boolean ? "true" : "false";
    if (const auto* number = std::get_if<double>(&payload)) return textOf(*number);
    if (const auto* text = std::get_if<std::string>(&payload)) return *text;
    if (isNull(&value) || !isRepresentable(value)) return {};
    return Foundation::encodeJSON(value);
}

/// A field takes whatever its keys hold.
bool take(const JSONValue& value, MessageAttachment::Field& field) {
    const auto* const object = std::get_if<JSONValue::Object>(&value.matched());
    if (object == nullptr) return false;
    if (const auto* title = ChatModel::findString(*object, "title")) field.title = *title;
    if (const auto* content = ChatModel::find(*object, "value")) field.value = textOf(*content);
    const auto* const text = ChatModel::findString(*object, "short");
    field.short_ = text != nullptr ? *text == "true" : ChatModel::findBool(*object, "short").value_or(false);
    return true;
}

bool take(const JSONValue& value, std::vector<Action>& actions) {
    const auto* const array = std::get_if<JSONValue::Array>(&value.matched());
    return array != nullptr && std::all_of(array->begin(), array->end(), [&](const JSONValue& element) {
               const auto* const object = std::get_if<JSONValue::Object>(&element.matched());
               if (object == nullptr) return false;
               // Of a type to come, whose other keys may be of any kind.
               const auto* const type = ChatModel::findString(*object, "type");
               if (type == nullptr || !Foundation::fromWireName<Action::Kind>(*type)) return true;
               return take(element, actions.emplace_back());
           });
}

/// An attachment keeps what it can: a row of the wrong kind has its default.
bool take(const JSONValue& value, MessageAttachment& attachment) {
    const auto* const object = std::get_if<JSONValue::Object>(&value.matched());
    if (object == nullptr) return false;
    const auto takeRow = [&](const auto& row) {
        auto& member = attachment.*(row.member);
        const JSONValue* const content = ChatModel::find(*object, row.key);
        if (content != nullptr && !take(*content, member)) member = {};
    };
    std::apply([&](const auto&... rows) { (takeRow(rows), ...); }, Foundation::fields<MessageAttachment>);
    return true;
}

}  // namespace

template <>
struct Foundation::OwnCoder<MessageAttachment> {
    static void decode(JSONReader& reader, MessageAttachment& attachment) {
        JSONValue value;
        // A number too large for a double spoils what it stands in, not the attachment.
        ChatModel::readWithInfinities(reader, value);
        if (!take(value, attachment)) reader.failExpecting("an object");
    }
};

namespace ChatModel {

std::vector<MessageAttachment> attachmentsFrom(const JSONValue& property) {
    std::vector<MessageAttachment> attachments;
    if (!isRepresentable(property) || !take(property, attachments)) attachments.clear();
    return attachments;
}

std::vector<std::vector<MessageAttachment::Field>> MessageAttachment::fieldRows() const {
    std::vector<std::vector<Field>> rows;
    for (const auto& field : fields) {
        if (field.short_ && !rows.empty() && rows.back().size() == 1 && rows.back().front().short_)
            rows.back().push_back(field);
        else
            rows.push_back({field});
    }
    return rows;
}

}  // namespace ChatModel

template struct ChatModel::ServerJSON<MessageAttachment>;
template std::string ChatModel::ServerJSON<MessageAttachment::Field>::encode(const MessageAttachment::Field&);

std::size_t std::hash<MessageAttachment::Field>::operator()(const MessageAttachment::Field& field) const noexcept {
    return Foundation::hashFields(field);
}

std::size_t std::hash<Option>::operator()(const Option& option) const noexcept {
    return Foundation::hashFields(option);
}

std::size_t std::hash<Action>::operator()(const Action& action) const noexcept {
    return Foundation::hashFields(action);
}

std::size_t std::hash<MessageAttachment>::operator()(const MessageAttachment& attachment) const noexcept {
    return Foundation::hashFields(attachment);
}
