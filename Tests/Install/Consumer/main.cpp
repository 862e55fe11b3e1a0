// A program of another project's: decodes a post, looks up a server, and has a push rewritten.
#include <future>
#include <iostream>
#include <memory>
#include <optional>

#include <ChatModel/Post.h>
#include <ChatModel/ServerJSON.h>
#include <ChatPlatform/SharedServerStore.h>
#include <ChatPush/PushNotificationService.h>
#include <Foundation/DecodingError.h>

int main(int, char** argv) {
    using Posts = ChatModel::ServerJSON<ChatModel::Post>;
    try {
        Posts::decode("{}");
    } catch (const Foundation::DecodingError& error) {
        std::cout << error.what() << '\n';
    }
    std::cout << Posts::encode(Posts::decode(argv[1])) << '\n';

    const ChatPlatform::SharedServerStore servers("no-servers");
    std::cout << servers.server("s1").has_value() << '\n';

    const auto service = std::make_shared<ChatPush::PushNotificationService>([&servers] {
        return ChatPush::PushProcessor(servers, ChatPlatform::CredentialStore("group"), nullptr);
    });
    std::promise<std::string> body;
    const UserNotifications::UNMutableNotificationContent push{
        .userInfo = Foundation::parseDictionary(R"({"type":"message","server_id":"s1","signature":"x"})")};
    service->didReceive({"1", push.copy()}, [&body](const auto& content) { body.set_value(content.body()); });
    std::cout << body.get_future().get() << '\n';
}
