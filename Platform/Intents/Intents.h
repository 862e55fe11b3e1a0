#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Foundation/Data.h"

namespace Intents {

/// How a person is reached. The type is always unknown: neither an e-mail address nor a telephone number.
struct INPersonHandle {
    std::string value;

    friend bool operator==(const INPersonHandle&, const INPersonHandle&) = default;
};

/// A picture, in the encoding it came in; nothing is decoded.
struct INImage {
    Foundation::Data imageData;

    friend bool operator==(const INImage&, const INImage&) = default;
};

/// Someone who takes part in a conversation.
struct INPerson {
    INPersonHandle personHandle;
    std::string displayName;
    std::optional<INImage> image;
    std::optional<std::string> customIdentifier;

    friend bool operator==(const INPerson&, const INPerson&) = default;
};

enum class INOutgoingMessageType { outgoingMessageText };

/// A message that someone sends; without recipients, group name, service name and attachments, which the system does
/// not use. Shared as a constant: an intent is told apart by its identity, as the platform's objects are.
struct INSendMessageIntent {
    INOutgoingMessageType outgoingMessageType = INOutgoingMessageType::outgoingMessageText;
    std::optional<std::string> content;
    std::string conversationIdentifier;
    INPerson sender;
};

/// A donation that the system did not take.
class INIntentError final : public std::exception {
public:
    const char* what() const noexcept override { return "The system takes no donations of interactions."; }
};

enum class INInteractionDirection { incoming };

/// That an intent took place, without a response.
struct INInteraction {
    std::shared_ptr<const INSendMessageIntent> intent;
    INInteractionDirection direction = INInteractionDirection::incoming;

    /// Hands the interaction to the system and returns when it has been taken. Throws `INIntentError` where nothing
    /// takes it, and what the system's side throws. Safe to call from several threads.
    void donate() const;
};

/// Takes the donations of the process. It may be called on any thread.
using DonationSink = std::function<void(const INInteraction&)>;

/// Registers the system's side of `donate`; an empty sink takes it away again. Safe at any time.
void setDonationSink(DonationSink sink);

}  // namespace Intents
