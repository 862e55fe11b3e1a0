#include "DemoServer/Server.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <condition_variable>
#include <mutex>
#include <set>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>
#include <tuple>
#include <utility>

#include <fcntl.h>
#include <sys/socket.h>

#include <httplib.h>

#include "DemoServer/Connection.h"
#include "DemoServer/Picture.h"
#include "Foundation/JSONCoding.h"

namespace DemoServer {

namespace {

/// What a client sends to acknowledge a push.
struct Acknowledgement {
    std::string id;
    std::string platform;
    std::string type;
    std::int64_t receivedAt = 0;
    std::optional<std::string> postID;
    bool isIDLoaded = false;
};

}  // namespace

}  // namespace DemoServer

template <>
constexpr auto Foundation::fields<DemoServer::Acknowledgement> =
    std::tuple{required("id", &DemoServer::Acknowledgement::id),
               required("platform", &DemoServer::Acknowledgement::platform),
               required("type", &DemoServer::Acknowledgement::type),
               required("received_at", &DemoServer::Acknowledgement::receivedAt),
               optional("post_id", &DemoServer::Acknowledgement::postID),
               required("is_id_loaded", &DemoServer::Acknowledgement::isIDLoaded)};

namespace DemoServer {

namespace {

/// A connection over which nothing goes for this long is closed.
constexpr time_t idleSeconds = 60;
constexpr std::size_t maximumBody = std::size_t{1} << 20;

ReceivedRequest recorded(const httplib::Request& request) {
    ReceivedRequest received{request.method, request.target, {}, request.body, connection->number};
    for (const auto& [name, value] : connection->headers) {
        std::string lower = name;
        std::transform(lower.begin(), lower.end(), lower.begin(),
                       [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
        const auto [entry, isNew] = received.headers.try_emplace(std::move(lower), value);
        if (!isNew) entry->second += ", " + value;
    }
    // The library puts these among the client's own.
    for (const char* name : {"remote_addr", "remote_port", "local_addr", "local_port"})
        received.headers.erase(name);
    return received;
}

void refuse(httplib::Response& response, int status, const char* reason) {
    Foundation::JSONWriter writer;
    writer.beginObject().key("message").value(reason).endObject();
    response.status = status;
    response.set_content(writer.text(), "application/json");
}

/// Puts what the behaviour names in the place of the endpoint's own answer.
void apply(const Behavior& behavior, httplib::Response& response) {
    if (!behavior.location.empty()) {
        response.set_header("Location", behavior.location);
        response.status = 302;
        response.body.clear();
    }
    if (behavior.status) response.status = *behavior.status;
    if (behavior.body) response.body = *behavior.body;
    if (!behavior.contentType.empty()) response.set_content(response.body, behavior.contentType);
    if (behavior.dropAfter) connection->budget = *behavior.dropAfter;
    connection->isLast = behavior.dropAfter || response.status < 200;
}

}  // namespace

class Server::Listener final : public httplib::Server {
public:
    explicit Listener(ServerOptions given) : options(std::move(given)) {
        const std::string& prefix = options.pathPrefix;
        if (!prefix.empty() && (!prefix.starts_with('/') || prefix.ends_with('/')))
            throw std::invalid_argument("the path prefix has to start with \"/\" and must not end in one");
        std::string base;  // the prefix as a regular expression
        for (const char character : prefix) {
            if (std::string_view(R"(^$\.*+?()[]{}|)").find(character) != std::string_view::npos) base += '\\';
            base += character;
        }
        Post(base + "/api/v4/notifications/ack", handler(Endpoint::acknowledgement));
        Get(base + "/api/v4/users/([^/]+)/image", handler(Endpoint::userPicture));
        Get(base + "/pictures/([^/]+)", handler(Endpoint::publicPicture));
        Post(R"([\s\S]*)", handler(std::nullopt)).Get(R"([\s\S]*)", handler(std::nullopt));

        new_task_queue = [] { return new ConnectionThreads; };
        set_keep_alive_max_count(1'000'000).set_keep_alive_timeout(idleSeconds);
        set_read_timeout(idleSeconds).set_write_timeout(idleSeconds).set_payload_max_length(maximumBody);
        set_tcp_nodelay(true);
        // The library's own options let two servers share a port without noticing.
        set_socket_options([](socket_t socket) {
            const int on = 1;
            ::setsockopt(socket, SOL_SOCKET, SO_REUSEADDR, &on, sizeof(on));
        });
        errno = 0;
        port = options.port != 0 ? options.port : bind_to_any_port("127.0.0.1");
        if (options.port != 0 ? !bind_to_port("127.0.0.1", port) : port < 0)
            throw std::system_error(errno, std::generic_category(), "127.0.0.1:" + std::to_string(options.port));
        // The library's queue of five overflows when connections come at once, and each then loses a second.
        ::listen(svr_sock_, SOMAXCONN);
        thread_ = std::thread([this] { listen_after_bind(); });
    }

    /// The library's `stop` does nothing before its thread has come to listen, and closes the socket while
    /// that thread may still name it: so it is shut down here, and closed when the thread has left.
    ~Listener() override {
        const socket_t socket = svr_sock_.exchange(INVALID_SOCKET);
        ::shutdown(socket, SHUT_RDWR);
        {
            const std::lock_guard lock(mutex);
            isStopping_ = true;
            for (const socket_t open : sockets_)
                ::shutdown(open, SHUT_RDWR);
        }
        changed.notify_all();
        thread_.join();
        ::close(socket);
    }

    const ServerOptions options;
    int port = 0;

    std::mutex mutex;  ///< for what follows
    std::condition_variable changed;
    std::map<Endpoint, Behavior> behaviors;
    std::map<std::string, PostContent> posts;
    std::vector<ReceivedRequest> requests;
    std::uint64_t releases = 0;
    std::optional<DropStage> drop;

private:
    bool process_and_close_socket(socket_t socket) override {
        ::fcntl(socket, F_SETFD, FD_CLOEXEC);
        Connection served(socket, opened(socket));
        connection = &served;
        bool isOpen = begin(served);
        while (isOpen) {
            bool isClosed = false;
            isOpen = process_request(served, false, isClosed, prepare) && !isClosed && !served.isLast;
        }
        connection = nullptr;
        served.shutDown();
        const std::lock_guard lock(mutex);
        sockets_.erase(socket);
        ::close(socket);
        return true;
    }

    std::uint64_t opened(socket_t socket) {
        const std::lock_guard lock(mutex);
        sockets_.insert(socket);
        if (isStopping_) ::shutdown(socket, SHUT_RDWR);
        return ++connectionCount_;
    }

    /// Whether a new connection has come to where requests are read.
    bool begin(Connection& served) {
        std::unique_lock lock(mutex);
        const auto stage = drop;
        lock.unlock();
        if (stage == DropStage::accepted) return false;
        if (options.certificate && !served.secure(options.certificate->context())) return false;
        if (stage) served.budget = 0;
        return !stage;
    }

    /// Nothing is compressed: what goes over the wire is what a behaviour names, byte for byte.
    static void prepare(httplib::Request& request) {
        connection->headers = request.headers;
        request.headers.erase("Accept-Encoding");
    }

    Handler handler(std::optional<Endpoint> endpoint) {
        return [this, endpoint](const httplib::Request& request, httplib::Response& response) {
            const Behavior behavior = await(recorded(request), endpoint);
            answer(endpoint, request, response);
            apply(behavior, response);
            if (behavior.hasEndlessHead) sendHeadWithoutEnd(response.status);
            if (response.status < 200 || response.status == 204 || response.status == 304)
                response.body.clear();
            else
                stream(behavior, response);
        };
    }

    /// Takes note of a request, and waits for as long as its endpoint's behaviour says, which it returns.
    Behavior await(ReceivedRequest request, std::optional<Endpoint> endpoint) {
        std::unique_lock lock(mutex);
        requests.push_back(std::move(request));
        changed.notify_all();
        Behavior behavior = endpoint ? behaviors[*endpoint] : Behavior{};
        if (behavior.isHeld) changed.wait(lock, [this, seen = releases] { return isStopping_ || releases != seen; });
        changed.wait_for(lock, behavior.delay, [this] { return isStopping_; });
        return behavior;
    }

    /// The endpoint's own answer.
    void answer(std::optional<Endpoint> endpoint, const httplib::Request& request, httplib::Response& response) {
        if (!endpoint) return refuse(response, 404, "there is nothing here");
        const bool isPublic =
            endpoint == Endpoint::publicPicture || (endpoint == Endpoint::userPicture && options.arePicturesPublic);
        if (!isPublic && request.get_header_value("Authorization") != "Bearer " + options.sessionToken)
            return refuse(response, 401, "the session token is missing or unknown");
        response.status = 200;
        if (endpoint != Endpoint::acknowledgement)
            return response.set_content(picture(request.matches[1].str()), "image/png");
        try {
            const auto acknowledged = Foundation::decodeJSON<Acknowledgement>(request.body);
            const std::string postID = acknowledged.postID.value_or("");
            const bool wantsContent = acknowledged.isIDLoaded && acknowledged.type == "message" && !postID.empty();
            response.set_content(wantsContent ? content(postID) : R"({"status":"OK"})", "application/json");
        } catch (const Foundation::DecodingError& error) {
            refuse(response, 400, error.what());
        }
    }

    std::string content(const std::string& postID) {
        const std::lock_guard lock(mutex);
        const auto found = posts.find(postID);
        PostContent content = found != posts.end() ? found->second : PostContent{{"message", "The text of " + postID}};
        for (const char* key : {"message", "channel_name", "sender_id", "sender_name", "root_id", "team_id",
                                "override_username", "override_icon_url", "from_webhook"})
            content.try_emplace(key);
        Foundation::JSONWriter writer;
        writer.beginObject();
        for (const auto& [key, text] : content)
            writer.key(key).value(text);
        return std::move(writer.endObject()).text();
    }

    /// Makes a body of bytes that are not at hand, or that take their time.
    void stream(const Behavior& behavior, httplib::Response& response) {
        static const std::array<char, 65536> zeros{};
        const auto interval = behavior.dripInterval;
        const bool isZeros = behavior.isEndless || behavior.declaredSize;
        if (!isZeros && interval.count() == 0) return;

        const std::string type = response.get_header_value("Content-Type");
        const auto body = std::exchange(response.body, "");
        const auto size = behavior.declaredSize.value_or(body.size());
        const auto send = [=, this](std::size_t offset, std::size_t length, httplib::DataSink& sink) {
            const char* const next = isZeros ? zeros.data() : body.data() + offset;
            if (interval.count() == 0) return sink.write(next, std::min(length, zeros.size()));
            return sink.write(next, 1) && isServingAfter(interval);
        };
        response.headers.erase("Content-Type");
        if (behavior.isEndless)
            response.set_chunked_content_provider(
                type, [send](std::size_t offset, httplib::DataSink& sink) { return send(offset, zeros.size(), sink); });
        else if (size > 0)
            response.set_content_provider(size, type, send);
    }

    static void sendHeadWithoutEnd(int status) {
        const auto isSent = [](const std::string& line) { return connection->write(line.data(), line.size()) > 0; };
        const std::string line = "X-Padding: " + std::string(1000, 'x') + "\r\n";
        if (!isSent("HTTP/1.1 " + std::to_string(status) + " \r\n")) return;
        while (isSent(line)) {
        }
        connection->budget = 0;  // nothing of the answer itself follows
    }

    bool isServingAfter(std::chrono::milliseconds interval) {
        std::unique_lock lock(mutex);
        return !changed.wait_for(lock, interval, [this] { return isStopping_; });
    }

    bool isStopping_ = false;
    std::set<socket_t> sockets_;
    std::uint64_t connectionCount_ = 0;
    std::thread thread_;
};

Server::Server(ServerOptions options) : listener_(std::make_unique<Listener>(std::move(options))) {}

Server::~Server() = default;

const ServerOptions& Server::options() const {
    return listener_->options;
}

std::string Server::url() const {
    return (options().certificate ? "https" : "http") + std::string("://127.0.0.1:") + std::to_string(listener_->port) +
           options().pathPrefix;
}

std::string Server::push(const Push& push) const {
    return payload(push, options().key, options().serverID, options().deviceToken);
}

void Server::addPost(const std::string& postID, PostContent content) {
    const std::lock_guard lock(listener_->mutex);
    listener_->posts.insert_or_assign(postID, std::move(content));
}

void Server::setBehavior(Endpoint endpoint, Behavior behavior) {
    if (behavior.status && (*behavior.status < 100 || *behavior.status > 599))
        throw std::invalid_argument("a status is a number from 100 to 599");
    const std::lock_guard lock(listener_->mutex);
    listener_->behaviors[endpoint] = std::move(behavior);
}

void Server::setDrop(std::optional<DropStage> stage) {
    const std::lock_guard lock(listener_->mutex);
    listener_->drop = stage;
}

void Server::release() {
    const std::lock_guard lock(listener_->mutex);
    ++listener_->releases;
    listener_->changed.notify_all();
}

std::vector<ReceivedRequest> Server::received() const {
    const std::lock_guard lock(listener_->mutex);
    return listener_->requests;
}

bool Server::waitForRequests(std::size_t count, std::chrono::seconds bound) const {
    std::unique_lock lock(listener_->mutex);
    return listener_->changed.wait_for(lock, bound, [&] { return listener_->requests.size() >= count; });
}

void Server::forgetRequests() {
    const std::lock_guard lock(listener_->mutex);
    listener_->requests.clear();
}

}  // namespace DemoServer
