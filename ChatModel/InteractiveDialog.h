#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

#include "ChatModel/JSONValue.h"
#include "Foundation/WireNames.h"

namespace ChatModel {

/// A form that an integration opens in the client, which posts what was entered to the integration's address:
///
///     {"url":"https://…","dialog":{"title":"Order","elements":[…],"state":"s","callback_id":"c",
///      "introduction_text":"…","submit_label":"Buy","notify_on_cancel":true}}
///
/// "url" and "dialog" are required; what is missing in "dialog" is empty or false.
struct InteractiveDialog {
    /// Fewer characters than the minimum, or more than the maximum.
    struct TooShort {
        std::int64_t minimum = 0;

        friend bool operator==(const TooShort&, const TooShort&) = default;
    };
    struct TooLong {
        std::int64_t maximum = 0;

        friend bool operator==(const TooLong&, const TooLong&) = default;
    };

    /// The names are those of `Foundation::wireName`.
    enum class Fault { required, notANumber, invalidEmail };

    using ValidationError = std::variant<TooShort, TooLong, Fault>;

    /// One thing to enter or to choose:
    ///
    ///     {"name":"count","display_name":"How many","type":"text","subtype":"number","default":"1","placeholder":"",
    ///      "help_text":"","optional":false,"min_length":1,"max_length":3,"options":[…],"data_source_url":""}
    ///
    /// "name" and "display_name" are required; what else is missing is empty, false or 0.
    struct Element {
        /// A line of text: "text", which is also what a missing "type" means.
        struct TextField {
            std::string subtype;  ///< such as "number" or "email"

            friend bool operator==(const TextField&, const TextField&) = default;
        };

        /// A choice from a list: "select".
        struct Select {
            std::string dataSource;  ///< where the choices come from; empty for the options

            friend bool operator==(const Select&, const Select&) = default;
        };

        /// Of a type that this version does not know. What every element has is kept as of any other.
        struct Unsupported {
            std::string type;

            friend bool operator==(const Unsupported&, const Unsupported&) = default;
        };

        /// Those that are told by their type alone. The wire names are those of `Foundation::wireName`.
        enum class Control { textarea, radio, boolean };

        using Kind = std::variant<TextField, Select, Unsupported, Control>;

        /// A choice: {"text":"Yes","value":"y"}. Both keys are required.
        struct Option {
            std::string text;  ///< to be shown
            std::string value;

            friend bool operator==(const Option&, const Option&) = default;
        };

        std::string name;
        std::string displayName;
        Kind kind;
        std::string defaultValue;
        std::string placeholder;
        std::string helpText;
        bool isOptional = false;
        std::int64_t minLength = 0;  ///< in characters as a person sees them; no limit below 1
        std::int64_t maxLength = 0;  ///< the same
        std::vector<Option> options;
        std::string dataSourceURL;

        /// What is wrong with the entry, of UTF-8; absent where it can be submitted. White space and line ends around
        /// it do not count. Limits of length and the subtypes "number" (see `submission`) and "email" (which needs an
        /// "@") are those of text alone.
        std::optional<ValidationError> validate(std::string_view value) const;

        friend bool operator==(const Element&, const Element&) = default;
    };

    /// What has been entered, by the elements' names.
    using Entries = std::map<std::string, std::string, std::less<>>;

    std::string url;
    std::string callbackID;
    std::string title;
    std::string introductionText;
    std::vector<Element> elements;
    std::string submitLabel;
    bool notifyOnCancel = false;
    std::string state;  ///< handed back to the integration as it came

    /// The entries that the form starts with. Of elements with the same name the first one counts.
    Entries defaultValues() const;

    /// What is posted back for the entries, by the elements' names. A boolean element gives true for "true" and false
    /// for anything else, or nothing; a number, in decimal or hexadecimal and finite, a number: "+5", ".5", "5.", "1e5"
    /// and "0x1p3", blanks around it allowed; any other the text as it was entered. What is empty, and what is to be a
    /// number and is none, is left out. Of elements with the same name the last one that gives a value counts.
    JSONValue::Object submission(const Entries& entries) const;

    friend bool operator==(const InteractiveDialog&, const InteractiveDialog&) = default;
};

/// What the integration answers to a submission; empty where nothing was wrong:
///
///     {"error":"Sold out","errors":{"count":"At most 2"}}
///
/// What is missing is empty.
struct DialogSubmitResult {
    std::string error;
    std::map<std::string, std::string, std::less<>> errors;  ///< messages by the elements' names

    friend bool operator==(const DialogSubmitResult&, const DialogSubmitResult&) = default;
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 3> Foundation::wireNames<ChatModel::InteractiveDialog::Element::Control> =
    {"textarea", "radio", "bool"};

template <>
inline constexpr std::array<std::string_view, 3> Foundation::wireNames<ChatModel::InteractiveDialog::Fault> = {
    "required", "notANumber", "invalidEmail"};

template <>
struct std::hash<ChatModel::InteractiveDialog::Element::TextField> {
    std::size_t operator()(const ChatModel::InteractiveDialog::Element::TextField& field) const noexcept;
};

template <>
struct std::hash<ChatModel::InteractiveDialog::Element::Select> {
    std::size_t operator()(const ChatModel::InteractiveDialog::Element::Select& select) const noexcept;
};

template <>
struct std::hash<ChatModel::InteractiveDialog::Element::Unsupported> {
    std::size_t operator()(const ChatModel::InteractiveDialog::Element::Unsupported& unsupported) const noexcept;
};

template <>
struct std::hash<ChatModel::InteractiveDialog::Element::Option> {
    std::size_t operator()(const ChatModel::InteractiveDialog::Element::Option& option) const noexcept;
};

template <>
struct std::hash<ChatModel::InteractiveDialog::TooShort> {
    std::size_t operator()(const ChatModel::InteractiveDialog::TooShort& error) const noexcept;
};

template <>
struct std::hash<ChatModel::InteractiveDialog::TooLong> {
    std::size_t operator()(const ChatModel::InteractiveDialog::TooLong& error) const noexcept;
};

template <>
struct std::hash<ChatModel::InteractiveDialog::Element> {
    std::size_t operator()(const ChatModel::InteractiveDialog::Element& element) const noexcept;
};

template <>
struct std::hash<ChatModel::InteractiveDialog> {
    std::size_t operator()(const ChatModel::InteractiveDialog& dialog) const noexcept;
};

template <>
struct std::hash<ChatModel::DialogSubmitResult> {
    std::size_t operator()(const ChatModel::DialogSubmitResult& result) const noexcept;
};
