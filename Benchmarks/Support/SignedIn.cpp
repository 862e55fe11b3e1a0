#include "Support/SignedIn.h"

#include <array>
#include <csignal>
#include <cstdlib>
#include <stdexcept>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include "Bundle/Bundle.h"
#include "ChatPlatform/CredentialStore.h"
#include "ChatPlatform/SharedServerStore.h"

namespace {

/// Serves until it is killed, the address being written to a pipe.
[[noreturn]] void serve(DemoServer::ServerOptions options, int target) {
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const DemoServer::Server server(std::move(options));
    const std::string url = server.url();
    if (::write(target, url.data(), url.size()) < 0) std::abort();
    ::close(target);
    while (true)
        ::pause();
}

ChatPlatform::AppGroup extensionGroup() {
    const auto bundle = Foundation::Bundle::open(TESSEL_BUNDLE_PATH);
    if (!bundle) throw std::runtime_error("the extension has not been built");
    return ChatPlatform::AppGroup(*bundle);
}

}  // namespace

SignedIn::SignedIn() : group_(extensionGroup()) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::runtime_error("no pipe");
    process_ = ::fork();
    if (process_ == 0) serve(server_, ends[1]);
    ::close(ends[1]);
    std::array<char, 256> url{};
    const ssize_t length = process_ < 0 ? -1 : ::read(ends[0], url.data(), url.size());
    ::close(ends[0]);
    if (length <= 0) throw std::runtime_error("the chat server did not start");
    url_ = Foundation::URL::parse({url.data(), static_cast<std::size_t>(length)}).value();

    ::setenv("LC_ALL", "C", 1);
    ::setenv("no_proxy", "*", 1);
    ::setenv("TESSEL_GROUP_CONTAINERS", (directory_ / "containers").c_str(), 1);
    ::setenv("TESSEL_KEYCHAIN", ("file:" + (directory_ / "keychain").string()).c_str(), 1);
    ChatPlatform::SharedServerStore::make(group_)->save(
        {url_, server_.serverID, server_.key.publicKey(), "me", server_.deviceToken});
    storeToken();
}

SignedIn::~SignedIn() {
    ::kill(process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

void SignedIn::storeToken() const {
    ChatPlatform::CredentialStore(group_.keychainGroup).setToken(server_.sessionToken, url_);
}

std::string SignedIn::push(const std::string& number) const {
    const DemoServer::Push push{.ackID = "ack-" + number,
                                .postID = "post-" + number,
                                .channelID = "channel-1",
                                .teamID = "team-1",
                                .senderID = "alice",
                                .senderName = "Alice",
                                .isIDLoaded = true,
                                .title = "Alice",
                                .body = "You have a new message.",
                                .badge = 3};
    return payload(push, server_.key, server_.serverID, server_.deviceToken);
}

std::string SignedIn::acknowledgementURL() const {
    return url_.appending("api/v4/notifications/ack").absoluteString();
}

std::string SignedIn::pictureURL() const {
    return url_.appending("api/v4/users/alice/image").absoluteString();
}

std::string SignedIn::authorization() const {
    return "Authorization: Bearer " + server_.sessionToken;
}

std::string SignedIn::acknowledgement() {
    return R"({"id":"ack-1","platform":"tessel_macos","type":"message","received_at":1700000000000,)"
           R"("post_id":"post-1","is_id_loaded":true})";
}
