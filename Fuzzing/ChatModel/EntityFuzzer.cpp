#include "Support.h"

#include <string>
#include <vector>

#include "ChatModel/Channel.h"
#include "ChatModel/ChannelMember.h"
#include "ChatModel/ClientConfig.h"
#include "ChatModel/CustomEmoji.h"
#include "ChatModel/CustomStatus.h"
#include "ChatModel/InteractiveDialog.h"
#include "ChatModel/Post.h"
#include "ChatModel/Preference.h"
#include "ChatModel/ReadReceipt.h"
#include "ChatModel/ServerJSON.h"
#include "ChatModel/SidebarCategory.h"
#include "ChatModel/Team.h"
#include "ChatModel/User.h"
#include "ChatModel/UserThread.h"
#include "Foundation/DecodingError.h"
#include "Foundation/JSONReader.h"

using namespace ChatModel;
using Foundation::DecodingError;
using Fuzzing::check;

namespace {

template <class Entity>
std::optional<Entity> decoded(std::string_view json) {
    const auto entity = Fuzzing::unless<DecodingError>([&] { return ServerJSON<Entity>::decode(json); });
    const auto list =
        Fuzzing::unless<DecodingError>([&] { return ServerJSON<Entity>::decodeList("[" + std::string(json) + "]"); });
    if (list && list->size() == 1) check(entity == list->front(), "alone and in a list an entity is the same", json);
    if (entity && Fuzzing::depthLimit(json) < Foundation::JSONReader::maximumDepth)
        check(list && list->size() == 1, "what is decoded alone is decoded in a list", json);
    return entity;
}

template <class Entity>
void checkCoded(std::string_view json) {
    const auto entity = decoded<Entity>(json);
    if (!entity) return;
    const std::string encoded = ServerJSON<Entity>::encode(*entity);
    const Entity again = ServerJSON<Entity>::decode(encoded);
    check(again == *entity, "an entity that is encoded and decoded again is equal", encoded);
    check(std::hash<Entity>()(again) == std::hash<Entity>()(*entity), "equal entities have equal hashes", encoded);
    check(ServerJSON<Entity>::encode(again) == encoded, "equal entities are encoded alike", encoded);
}

/// What is derived from a post must bear whatever its free properties hold.
void checkPost(std::string_view json) {
    checkCoded<Post>(json);
    const auto post = decoded<Post>(json);
    if (!post) return;
    for (const auto& name : post->emojiNames())
        check(!name.empty() && name.find(':') == std::string::npos, "an emoji's name stands between colons", name);
    check(post->referencedUserIDs().contains(post->userID), "a post's author is needed to show it");
    for (const auto& attachment : post->messageAttachments())
        checkCoded<MessageAttachment>(ServerJSON<MessageAttachment>::encode(attachment));
    post->systemEvent();
}

void checkConfig(std::string_view json) {
    const auto config = decoded<ClientConfig>(json);
    if (config) check(ServerJSON<ClientConfig>::decode(json) == *config, "a configuration is decoded alike", json);
}

constexpr void (*checks[])(std::string_view) = {checkPost,
                                                checkConfig,
                                                checkCoded<JSONValue>,
                                                checkCoded<Team>,
                                                checkCoded<Channel>,
                                                checkCoded<ChannelMember>,
                                                checkCoded<User>,
                                                checkCoded<CustomStatus>,
                                                checkCoded<Reaction>,
                                                checkCoded<PostMetadata>,
                                                checkCoded<MessageAttachment>,
                                                checkCoded<CustomEmoji>,
                                                checkCoded<UserThread>,
                                                checkCoded<ThreadTotals>,
                                                checkCoded<Preference>,
                                                checkCoded<SidebarCategory>,
                                                checkCoded<OrderedSidebarCategories>,
                                                checkCoded<InteractiveDialog>,
                                                checkCoded<InteractiveDialog::Element>,
                                                checkCoded<DialogSubmitResult>,
                                                checkCoded<ReadReceipt::Summary>,
                                                checkCoded<ReadReceipt::Reader>,
                                                checkCoded<ReadReceipt::Details>,
                                                checkCoded<ReadReceipt::ReadResult>};

}  // namespace

/// An entity's JSON behind a letter that says which entity: "A" for the first of the list above.
int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size > 0) checks[std::uint8_t(data[0] - 'A') % std::size(checks)](Fuzzing::textView(data + 1, size - 1));
    return 0;
}
