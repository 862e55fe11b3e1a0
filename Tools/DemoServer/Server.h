#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "DemoServer/Certificate.h"
#include "DemoServer/Push.h"
#include "DemoServer/SigningKey.h"

namespace DemoServer {

/// The endpoints, each below the server's path prefix.
enum class Endpoint {
    acknowledgement,  ///< POST /api/v4/notifications/ack
    userPicture,      ///< GET /api/v4/users/<id>/image: `picture(id)`
    publicPicture     ///< GET /pictures/<name>: `picture(name)`, for anybody
};

/// How an endpoint answers. What is left as it is here is the endpoint's own answer: `{}` is without fault.
struct Behavior {
    bool isHeld = false;                 ///< the request waits until it is released
    std::chrono::milliseconds delay{0};  ///< how long the answer waits, after the release where there is one

    /// 100 to 599. The body stays the endpoint's own, but 1xx, 204 and 304 have none. Behind a 1xx, which is
    /// no final answer to a client, the connection is closed.
    std::optional<int> status{};
    std::optional<std::string> body{};
    std::string contentType{};

    /// Where the client is sent, with an empty body, and status 302 unless another is given.
    std::string location{};

    /// The body is this many zero bytes, made while they are sent.
    std::optional<std::uint64_t> declaredSize{};
    bool isEndless = false;                     ///< the body is zero bytes, chunked, until the client hangs up
    bool hasEndlessHead = false;                ///< header lines are sent until the client hangs up
    std::chrono::milliseconds dripInterval{0};  ///< the body is sent byte by byte, this far apart

    /// The connection is closed when this much of the answer has been sent, in bytes from its status line on.
    std::optional<std::size_t> dropAfter{};
};

/// Where a connection is closed before a request is read.
enum class DropStage {
    accepted,  ///< before anything is read
    secured    ///< behind the TLS handshake; without TLS the same as `accepted`
};

/// A request as it arrived.
struct ReceivedRequest {
    std::string method{};
    std::string path{};                            ///< as it was sent: with the prefix, the escapes and the query
    std::map<std::string, std::string> headers{};  ///< names in lower case; equal ones joined by ", "
    std::string body{};
    std::uint64_t connection = 0;  ///< which TCP connection it came over: 1 for the first that was accepted
};

/// A post's content by its JSON keys: "message", "channel_name", "sender_id", "sender_name", "root_id",
/// "team_id", "override_username", "override_icon_url" and "from_webhook" ("true" or not). What is missing is
/// sent empty.
using PostContent = std::map<std::string, std::string>;

struct ServerOptions {
    std::uint16_t port = 0;    ///< 0: one that is free
    std::string pathPrefix{};  ///< "", or the path that everything is below, such as "/chat"
    std::string serverID = "demo-server";
    std::string deviceToken = "demo-device-token";    ///< of the device that pushes are signed for
    std::string sessionToken = "demo-session-token";  ///< what a client sends as its bearer token
    bool arePicturesPublic = false;                   ///< whether users' pictures are given without that token
    SigningKey key{};
    std::optional<Certificate> certificate{};  ///< where there is one, all connections are TLS
};

/// A small chat server on the loopback interface: it makes signed pushes, takes their acknowledgements and
/// has pictures. It answers 401 without the bearer token, 400 to an acknowledgement that is not as it should
/// be, and 404 elsewhere. Every connection has a thread of its own. All operations are safe to call from
/// several threads.
class Server {
public:
    /// Listens on 127.0.0.1 from here on. Throws `std::system_error` where the port is not to be had, and
    /// `std::invalid_argument` for a prefix that does not start with "/" or ends in one.
    explicit Server(ServerOptions options = {});

    /// Closes all connections, whatever they wait for, and ends the threads.
    ~Server();
    Server(const Server&) = delete;
    Server& operator=(const Server&) = delete;

    const ServerOptions& options() const;

    /// "http://127.0.0.1:PORT", or with a certificate "https://127.0.0.1:PORT", and the prefix.
    std::string url() const;

    /// A push of this server as one compact JSON object. Throws `std::invalid_argument` for text that is not
    /// UTF-8.
    std::string push(const Push& push) const;

    /// What an acknowledgement that asks for this post is answered with. A post that was not added has a
    /// message that names it.
    void addPost(const std::string& postID, PostContent content);

    /// For the requests that arrive from now on. Throws `std::invalid_argument` for a status outside 100 to
    /// 599.
    void setBehavior(Endpoint endpoint, Behavior behavior);

    /// For the connections that are accepted from now on; absent: they are served.
    void setDrop(std::optional<DropStage> stage);

    /// Lets go the requests that are held now. Those that arrive later are held anew, while the behaviour
    /// says so.
    void release();

    /// The GET, HEAD and POST requests so far, refused ones included, in the order in which they arrived.
    std::vector<ReceivedRequest> received() const;

    /// Waits until `received` has this many requests, held ones included; false where the time is over
    /// before.
    [[nodiscard]] bool waitForRequests(std::size_t count, std::chrono::seconds bound = std::chrono::seconds(30)) const;

    /// Forgets the requests so far, which are kept until then: `received` starts anew.
    void forgetRequests();

private:
    class Listener;
    std::unique_ptr<Listener> listener_;
};

}  // namespace DemoServer
