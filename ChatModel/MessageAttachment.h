#pragma once

#include <array>
#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include "Foundation/WireNames.h"

namespace ChatModel {

/// A block that an integration attaches to a post:
///
///     {"color":"#f00","title":"Build 7","fields":[{"title":"Tests","value":3,"short":true}],
///      "actions":[{"id":"a1","type":"button","name":"Retry"}]}
///
/// Integrations write what they like, so that every object is one: a value that is missing or malformed, or a list in
/// which anything is, gives the default.
struct MessageAttachment {
    /// A titled value. Of any kind on the wire: a number without fraction becomes its digits, a list or an object its
    /// JSON text, null the empty text.
    struct Field {
        std::string title;
        std::string value;
        bool short_ = false;  ///< two short ones share a row; `short` is a keyword. On the wire true or "true"

        friend bool operator==(const Field&, const Field&) = default;
    };

    /// Something to press or to choose from. One whose "type" is unknown is left out of the list; any other value of
    /// the wrong kind empties it.
    struct Action {
        enum class Kind { button, select };

        /// A choice: {"text":"Yes","value":"y"}. Both keys are required.
        struct Option {
            std::string text;
            std::string value;

            friend bool operator==(const Option&, const Option&) = default;
        };

        std::string id;
        Kind kind = Kind::button;
        std::string name;
        std::string style;
        bool disabled = false;
        std::string dataSource;
        std::vector<Option> options;
        std::string defaultOption;
        std::string cookie;

        friend bool operator==(const Action&, const Action&) = default;
    };

    std::string fallback;
    std::string color;
    std::string pretext;
    std::string authorName;
    std::string authorLink;
    std::string title;
    std::string titleLink;
    std::string text;
    std::vector<Field> fields;
    std::string imageURL;
    std::string thumbURL;
    std::string footer;
    std::vector<Action> actions;

    /// The fields as they are laid out: each row holds one, or two short ones that follow each other.
    std::vector<std::vector<Field>> fieldRows() const;

    friend bool operator==(const MessageAttachment&, const MessageAttachment&) = default;
};

}  // namespace ChatModel

template <>
inline constexpr std::array<std::string_view, 2> Foundation::wireNames<ChatModel::MessageAttachment::Action::Kind> = {
    "button", "select"};

template <>
struct std::hash<ChatModel::MessageAttachment::Field> {
    std::size_t operator()(const ChatModel::MessageAttachment::Field& field) const noexcept;
};

template <>
struct std::hash<ChatModel::MessageAttachment::Action::Option> {
    std::size_t operator()(const ChatModel::MessageAttachment::Action::Option& option) const noexcept;
};

template <>
struct std::hash<ChatModel::MessageAttachment::Action> {
    std::size_t operator()(const ChatModel::MessageAttachment::Action& action) const noexcept;
};

template <>
struct std::hash<ChatModel::MessageAttachment> {
    std::size_t operator()(const ChatModel::MessageAttachment& attachment) const noexcept;
};
