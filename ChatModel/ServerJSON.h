#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ChatModel {

/// An entity and its JSON (RFC 8259), as the chat server's REST interface and its websocket send it. There is one for
/// each of `JSONValue`, `Team`, `Channel`, `ChannelMember`, `User`, `CustomStatus`, `Post`, `Reaction`, `PostMetadata`,
/// `MessageAttachment`, `CustomEmoji`, `UserThread`, `ThreadTotals`, `Preference`, `SidebarCategory`,
/// `OrderedSidebarCategories`, `InteractiveDialog`, its `Element`, `DialogSubmitResult`, and of the `ReadReceipt` records
/// `Summary`, `Reader`, `Details`, `ReadResult`; to decode alone, of `ClientConfig`, and to encode alone, of
/// `MessageAttachment::Field`. Safe to call from several threads.
///
/// Decoding is strict where the entity's header does not say otherwise: a key without a default must be there and hold
/// the right kind; null counts as missing for the others. Unknown keys are passed over, of equal keys the last counts.
template <class Entity>
struct ServerJSON {
    /// Throws `Foundation::DecodingError`, which names the place ("metadata.files[2].size") and what was expected.
    static Entity decode(std::string_view json);

    /// The entities of a JSON array. Throws the same.
    static std::vector<Entity> decodeList(std::string_view json);

    /// Compact JSON with the server's keys; absent fields are left out. Decoding it gives an equal entity.
    /// Throws `std::invalid_argument` for what JSON cannot hold: text that is not UTF-8, numbers that are not finite.
    static std::string encode(const Entity& entity);
};

}  // namespace ChatModel
