#include "Support.h"

#include "ChatModel/PushPayload.h"
#include "ExtensionHost/ContentJSON.h"

using namespace Foundation;
using ChatModel::PushPayload;
using Fuzzing::check;

namespace {

std::string written(const Dictionary& dictionary) {
    JSONWriter writer;
    write(writer, dictionary);
    return writer.text();
}

void checkIdentifiers(const PushPayload& push) {
    const bool isReply = push.isCollapsedThreads && !push.rootID.empty();
    check(push.conversationID() == (isReply ? push.rootID : push.channelID), "conversations are threads or channels");
    check(push.threadRootID() == (push.rootID.empty() ? push.postID : push.rootID), "a root's thread is its own");
    check(push.isShown(push.channelID, push.rootID), "a push is shown in its conversation");
    check(!push.isShown(std::nullopt, std::nullopt), "nothing is shown where nothing is open");
    check(push.isCleared(push), "a push is cleared by what names the same conversation");
}

}  // namespace

/// A push's user information, as JSON: written and read again, it is the same, and so is what is made of it.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const auto userInfo =
        Fuzzing::unless<DecodingError>([&] { return parseDictionary(Fuzzing::textView(data, size)); });
    if (!userInfo) return 0;
    const std::string text = written(*userInfo);
    const Dictionary again = parseDictionary(text);
    // A real without fraction is written as the integer that it counts as, and the negative zero as "-0".
    check(written(again) == text || text.find("-0") != std::string::npos, "what is written and read is the same", text);
    check(parseDictionary(written(again)) == again, "what was read stays the same", text);

    const auto content = ExtensionHost::contentOfPush(*userInfo);
    check(content.userInfo == *userInfo, "a content's user information is the push's");
    JSONWriter writer;
    ExtensionHost::writeContent(writer, content.copy());
    const Dictionary shown = parseDictionary(writer.text());
    check(*find(shown, "userInfo") == PropertyList(again), "a content's user information is written whole");
    check(textOrEmpty(shown, "body") == content.body, "a content's body is written whole");
    check(find(shown, "badge")->integer() == content.badge, "a content's badge is written");

    const auto push = PushPayload::make(*userInfo);
    check(PushPayload::make(again) == push, "equal property lists make equal payloads");
    if (!push) return 0;
    check(std::hash<PushPayload>()(*PushPayload::make(again)) == std::hash<PushPayload>()(*push),
          "equal payloads have equal hashes");
    check(push->badge == content.badge, "payload and content have the same badge");
    checkIdentifiers(*push);
    return 0;
}
