#include "Support.h"

#include "Desktop/Delivery.h"
#include "ExtensionHost/ContentJSON.h"
#include "Foundation/DecodingError.h"

using Desktop::Delivery;
using Foundation::DecodingError;
using Fuzzing::check;

/// A push before and behind the extension, as the desktop reads it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto text = Fuzzing::textView(data, size);
    const auto read = Fuzzing::unless<DecodingError>([&] { return Delivery::read(text); });
    if (read) {
        check(read->push == ChatModel::PushPayload::make(read->content.userInfo), "the push is the content's", text);
        check(!read->isVerified || (read->push && read->push->isVerified), "what is marked is not verified", text);
    }
    const auto unlooked = Fuzzing::unless<DecodingError>([&] { return Delivery::unlooked(text); });
    if (!unlooked) return 0;
    check(!unlooked->isVerified && !unlooked->sender, "what nobody has looked at is not verified", text);

    // What the extension writes of the content is read as the same, but for numbers that count as integers.
    Foundation::JSONWriter writer;
    writer.beginObject().key("delivery").value("completed");
    ExtensionHost::writeContent(writer.key("content"), unlooked->content.copy(), true);
    writer.endObject();
    const auto again = Delivery::read(writer.text());
    check(again.push == unlooked->push && !again.sender, "the push comes through", writer.text());
    check(again.content.title == unlooked->content.title && again.content.subtitle == unlooked->content.subtitle &&
              again.content.body == unlooked->content.body && again.content.badge == unlooked->content.badge &&
              again.content.sound == unlooked->content.sound &&
              again.content.threadIdentifier == unlooked->content.threadIdentifier &&
              again.content.categoryIdentifier == unlooked->content.categoryIdentifier,
          "the content comes through", writer.text());
    return 0;
}
