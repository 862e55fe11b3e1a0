#include "ChatModel/Channel.h"
#include "ChatModel/ChannelMember.h"
#include "ChatModel/ClientConfig.h"
#include "ChatModel/InteractiveDialog.h"
#include "ChatModel/Post.h"
#include "ChatModel/ReadReceipt.h"
#include "ChatModel/ServerJSON.h"
#include "ChatModel/SidebarCategory.h"
#include "ChatModel/Team.h"
#include "ChatModel/User.h"
#include "ChatModel/UserThread.h"
#include "tessel/Model.h"

namespace tessel {

using Foundation::JSONReader;
using Foundation::JSONWriter;

namespace {

/// Decodes an entity and encodes it again.
template <class Entity>
void decode(JSONReader& reader, JSONWriter& writer) {
    using JSON = ChatModel::ServerJSON<Entity>;
    writer.raw(JSON::encode(JSON::decode(reader.raw())));
}

/// Only ever decoded, a configuration answers with the names of its fields.
void decodeClientConfig(JSONReader& reader, JSONWriter& writer) {
    const auto config = ChatModel::ServerJSON<ChatModel::ClientConfig>::decode(reader.raw());
    writer.beginObject();
    writer.key("siteURL").value(spelling(config.siteURL));
    writer.key("siteName").value(config.siteName);
    writer.key("openIDButtonText").value(config.openIDButtonText);
    writer.key("isOpenIDEnabled").value(config.isOpenIDEnabled);
    writer.key("isEmailSignInEnabled").value(config.isEmailSignInEnabled);
    writer.key("isUsernameSignInEnabled").value(config.isUsernameSignInEnabled);
    writer.key("helpLink").value(spelling(config.helpLink));
    writer.key("reportProblemLink").value(spelling(config.reportProblemLink));
    writer.key("diagnosticID").value(config.diagnosticID);
    writer.key("signingPublicKey").value(config.signingPublicKey);
    writer.key("sendsPushNotifications").value(config.sendsPushNotifications);
    writer.key("isPasswordSignInEnabled").value(config.isPasswordSignInEnabled());
    writer.endObject();
}

}  // namespace

const Operations& decodeOperations() {
    static const Operations operations = {{"json-value", decode<ChatModel::JSONValue>},
                                          {"team", decode<ChatModel::Team>},
                                          {"channel", decode<ChatModel::Channel>},
                                          {"channel-member", decode<ChatModel::ChannelMember>},
                                          {"user", decode<ChatModel::User>},
                                          {"custom-status", decode<ChatModel::CustomStatus>},
                                          {"post", decode<ChatModel::Post>},
                                          {"reaction", decode<ChatModel::Reaction>},
                                          {"post-metadata", decode<ChatModel::PostMetadata>},
                                          {"message-attachment", decode<ChatModel::MessageAttachment>},
                                          {"custom-emoji", decode<ChatModel::CustomEmoji>},
                                          {"user-thread", decode<ChatModel::UserThread>},
                                          {"thread-totals", decode<ChatModel::ThreadTotals>},
                                          {"client-config", decodeClientConfig},
                                          {"preference", decode<ChatModel::Preference>},
                                          {"sidebar-category", decode<ChatModel::SidebarCategory>},
                                          {"ordered-sidebar-categories", decode<ChatModel::OrderedSidebarCategories>},
                                          {"read-receipt-summary", decode<ChatModel::ReadReceipt::Summary>},
                                          {"read-receipt-reader", decode<ChatModel::ReadReceipt::Reader>},
                                          {"read-receipt-details", decode<ChatModel::ReadReceipt::Details>},
                                          {"read-receipt-read-result", decode<ChatModel::ReadReceipt::ReadResult>},
                                          {"interactive-dialog", decode<ChatModel::InteractiveDialog>},
                                          {"dialog-submit-result", decode<ChatModel::DialogSubmitResult>}};
    return operations;
}

}  // namespace tessel
