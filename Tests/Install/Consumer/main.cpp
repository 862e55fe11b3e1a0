// Another project's program: decodes an entity, looks up a server, and has a push rewritten.
#include <future>
#include <iostream>

#include <ChatModel/ServerJSON.h>
#include <ChatModel/Team.h>
#include <ChatPush/PushNotificationService.h>
#include <Foundation/DecodingError.h>

class Service final : public ChatPush::PushNotificationService {
    using PushNotificationService::PushNotificationService;
};

int main() {
    using Teams = ChatModel::ServerJSON<ChatModel::Team>;
    try {
        Teams::decode("{}");
    } catch (const Foundation::DecodingError& error) {
        std::cout << error.what() << '\n';
    }
    std::cout << Teams::decode(R"({"id":"","name":"","display_name":"Tessel","delete_at":0})").displayName << '\n';
    const ChatPlatform::SharedServerStore servers("no-servers");
    std::cout << (servers.server("s1") ? "a server" : "no server") << '\n';
    const auto service = std::make_shared<Service>([&servers] {
        return ChatPush::PushProcessor(servers, ChatPlatform::CredentialStore("group"), nullptr);
    });
    std::promise<std::string> body;
    const UserNotifications::UNMutableNotificationContent push{
        .userInfo = Foundation::parseDictionary(R"({"type":"message","server_id":"s1","signature":"x"})")};
    service->didReceive({"1", push.copy()}, [&body](const auto& content) { body.set_value(content.body()); });
    std::cout << body.get_future().get() << '\n';
}
