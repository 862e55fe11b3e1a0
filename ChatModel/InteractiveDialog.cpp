#include "ChatModel/InteractiveDialog.h"

#include <cmath>
#include <cstdlib>

#include <locale.h>

#include "ChatModel/EntityCoding.h"
#include "Text/Characters.h"
#include "Text/WhiteSpace.h"

using ChatModel::DialogSubmitResult;
using ChatModel::InteractiveDialog;
using Foundation::JSONReader;
using Foundation::JSONWriter;
using Element = InteractiveDialog::Element;

namespace {

/// What stands under "dialog".
struct Form {
    std::string title;
    std::vector<Element> elements;
    std::string state;
    std::string callbackID;
    std::string introductionText;
    std::string submitLabel;
    bool notifyOnCancel = false;
};

/// A dialog as it is sent.
struct Envelope {
    std::string url;
    Form dialog;
};

/// The type of an element. The key that may stand beside it is read from the element later, for what it has to hold
/// depends on the type.
struct KindCoder {
    static void decode(JSONReader& reader, Element::Kind& kind) {
        std::string type;
        reader.read(type);
        if (type == "text")
            kind = Element::TextField();
        else if (type == "select")
            kind = Element::Select();
        else if (const auto control = Foundation::fromWireName<Element::Control>(type))
            kind = *control;
        else
            kind = Element::Unsupported{std::move(type)};
    }

    static void encode(JSONWriter& writer, const Element::Kind& kind) {
        if (const auto* field = std::get_if<Element::TextField>(&kind))
            writer.value("text").key("subtype").value(field->subtype);
        else if (const auto* select = std::get_if<Element::Select>(&kind))
            writer.value("select").key("data_source").value(select->dataSource);
        else if (const auto* control = std::get_if<Element::Control>(&kind))
            writer.value(Foundation::wireName(*control));
        else
            writer.value(std::get<Element::Unsupported>(kind).type);
    }
};

}  // namespace

template <>
constexpr auto Foundation::fields<Element::TextField> = std::tuple{
    defaulted("subtype", &Element::TextField::subtype),
};

template <>
constexpr auto Foundation::fields<Element::Select> = std::tuple{
    defaulted("data_source", &Element::Select::dataSource),
};

template <>
constexpr auto Foundation::fields<Element::Option> = std::tuple{
    required("text", &Element::Option::text),
    required("value", &Element::Option::value),
};

template <>
constexpr auto Foundation::fields<Element> = std::tuple{
    required("name", &Element::name),
    required("display_name", &Element::displayName),
    defaulted<KindCoder>("type", &Element::kind),
    defaulted("default", &Element::defaultValue),
    defaulted("placeholder", &Element::placeholder),
    defaulted("help_text", &Element::helpText),
    defaulted("optional", &Element::isOptional),
    defaulted("min_length", &Element::minLength),
    defaulted("max_length", &Element::maxLength),
    defaulted("options", &Element::options),
    defaulted("data_source_url", &Element::dataSourceURL),
};

template <>
struct Foundation::OwnCoder<Element> {
    static void decode(JSONReader& reader, Element& element) {
        Foundation::decode(reader, element);
        if (auto* const field = std::get_if<Element::TextField>(&element.kind)) Foundation::decode(reader, *field);
        if (auto* const select = std::get_if<Element::Select>(&element.kind)) Foundation::decode(reader, *select);
    }

    static void encode(JSONWriter& writer, const Element& element) { Foundation::encode(writer, element); }
};

template <>
constexpr auto Foundation::fields<Form> = std::tuple{
    defaulted("title", &Form::title),
    defaulted("elements", &Form::elements),
    defaulted("state", &Form::state),
    defaulted("callback_id", &Form::callbackID),
    defaulted("introduction_text", &Form::introductionText),
    defaulted("submit_label", &Form::submitLabel),
    defaulted("notify_on_cancel", &Form::notifyOnCancel),
};

template <>
constexpr auto Foundation::fields<Envelope> = std::tuple{
    required("url", &Envelope::url),
    required("dialog", &Envelope::dialog),
};

template <>
struct Foundation::OwnCoder<InteractiveDialog> {
    static void decode(JSONReader& reader, InteractiveDialog& dialog) {
        Envelope envelope;
        Foundation::decode(reader, envelope);
        Form& form = envelope.dialog;
        dialog = {.url = std::move(envelope.url),
                  .callbackID = std::move(form.callbackID),
                  .title = std::move(form.title),
                  .introductionText = std::move(form.introductionText),
                  .elements = std::move(form.elements),
                  .submitLabel = std::move(form.submitLabel),
                  .notifyOnCancel = form.notifyOnCancel,
                  .state = std::move(form.state)};
    }

    static void encode(JSONWriter& writer, const InteractiveDialog& dialog) {
        Foundation::encode(writer, Envelope{.url = dialog.url,
                                            .dialog = {.title = dialog.title,
                                                       .elements = dialog.elements,
                                                       .state = dialog.state,
                                                       .callbackID = dialog.callbackID,
                                                       .introductionText = dialog.introductionText,
                                                       .submitLabel = dialog.submitLabel,
                                                       .notifyOnCancel = dialog.notifyOnCancel}});
    }
};

template <>
constexpr auto Foundation::fields<DialogSubmitResult> = std::tuple{
    defaulted("error", &DialogSubmitResult::error),
    defaulted("errors", &DialogSubmitResult::errors),
};

namespace ChatModel {

namespace {

/// The whole text as C's strtod takes it in the C locale, but finite, and with nothing in front.
std::optional<double> numberFrom(std::string_view text) {
    static const locale_t c = ::newlocale(LC_ALL_MASK, "C", nullptr);
    constexpr std::string_view start = "+-.0123456789";  // no white space; no letter either, as of "inf" and "nan"
    if (text.empty() || start.find(text.front()) == start.npos) return std::nullopt;
    const std::string whole(text);
    char* end = nullptr;
    const double number = ::strtod_l(whole.c_str(), &end, c);
    return end == whole.c_str() + whole.size() && std::isfinite(number) ? std::optional(number) : std::nullopt;
}

bool hasSubtype(const Element& element, std::string_view subtype) {
    const auto* const field = std::get_if<Element::TextField>(&element.kind);
    return field != nullptr && field->subtype == subtype;
}

bool isControl(const Element& element, Element::Control control) {
    return element.kind == Element::Kind(control);
}

}  // namespace

std::optional<InteractiveDialog::ValidationError> Element::validate(std::string_view value) const {
    // Deliberately of line ends too, which `submission` leaves: an entry that passes here may be no number there.
    value = Text::trimmed(value);
    if (value.empty()) {
        if (isOptional || isControl(*this, Control::boolean)) return std::nullopt;
        return Fault::required;
    }
    if (!std::holds_alternative<TextField>(kind) && !isControl(*this, Control::textarea)) return std::nullopt;
    const auto length = static_cast<std::int64_t>(Text::characterCount(value));
    if (length < minLength) return TooShort{minLength};
    if (maxLength >= 1 && length > maxLength) return TooLong{maxLength};
    if (hasSubtype(*this, "number") && !numberFrom(value)) return Fault::notANumber;
    if (hasSubtype(*this, "email") && value.find('@') == std::string_view::npos) return Fault::invalidEmail;
    return std::nullopt;
}

InteractiveDialog::Entries InteractiveDialog::defaultValues() const {
    Entries entries;
    for (const Element& element : elements)
        entries.try_emplace(element.name, element.defaultValue);
    return entries;
}

JSONValue::Object InteractiveDialog::submission(const Entries& entries) const {
    JSONValue::Object posted;
    for (const Element& element : elements) {
        const auto found = entries.find(element.name);
        const std::string_view entry = found == entries.end() ? std::string_view() : found->second;
        if (isControl(element, Element::Control::boolean)) {
            posted.insert_or_assign(element.name, entry == "true");
        } else if (hasSubtype(element, "number")) {
            // Deliberately not of line ends, unlike `validate`: a number with one is left out.
            if (const auto number = numberFrom(Text::trimmedOfBlanks(entry)))
                posted.insert_or_assign(element.name, *number);
        } else if (!entry.empty()) {
            posted.insert_or_assign(element.name, entry);
        }
    }
    return posted;
}

}  // namespace ChatModel

template struct ChatModel::ServerJSON<Element>;
template struct ChatModel::ServerJSON<InteractiveDialog>;
template struct ChatModel::ServerJSON<DialogSubmitResult>;

std::size_t std::hash<Element::TextField>::operator()(const Element::TextField& field) const noexcept {
    return Foundation::hashFields(field);
}

std::size_t std::hash<Element::Select>::operator()(const Element::Select& select) const noexcept {
    return Foundation::hashFields(select);
}

std::size_t std::hash<Element::Unsupported>::operator()(const Element::Unsupported& unsupported) const noexcept {
    return Foundation::hashOf(unsupported.type);
}

std::size_t std::hash<Element::Option>::operator()(const Element::Option& option) const noexcept {
    return Foundation::hashFields(option);
}

std::size_t std::hash<InteractiveDialog::TooShort>::operator()(
    const InteractiveDialog::TooShort& error) const noexcept {
    return Foundation::hashOf(error.minimum);
}

std::size_t std::hash<InteractiveDialog::TooLong>::operator()(const InteractiveDialog::TooLong& error) const noexcept {
    return Foundation::hashOf(error.maximum);
}

std::size_t std::hash<Element>::operator()(const Element& element) const noexcept {
    return Foundation::hashFields(element);
}

std::size_t std::hash<InteractiveDialog>::operator()(const InteractiveDialog& dialog) const noexcept {
    return Foundation::hashOf(dialog.url, dialog.callbackID, dialog.title, dialog.introductionText, dialog.elements,
                              dialog.submitLabel, dialog.notifyOnCancel, dialog.state);
}

std::size_t std::hash<DialogSubmitResult>::operator()(const DialogSubmitResult& result) const noexcept {
    return Foundation::hashFields(result);
}
