#include "DemoServer/Connection.h"

#include <algorithm>
#include <cerrno>
#include <utility>

#include <sys/socket.h>

namespace DemoServer {

namespace {

template <class Call>
ssize_t retried(Call call) {
    ssize_t count = 0;
    do {
        errno = 0;  // not every failure of TLS sets it
        count = call();
    } while (count < 0 && errno == EINTR);
    return count;
}

}  // namespace

bool Connection::secure(SSL_CTX* context) {
    tls_.reset(SSL_new(context));
    return tls_ && SSL_set_fd(tls_.get(), socket_) == 1 && SSL_accept(tls_.get()) == 1;
}

void Connection::shutDown() {
    if (tls_ && budget > 0) SSL_shutdown(tls_.get());
    ::shutdown(socket_, SHUT_RDWR);
}

ssize_t Connection::read(char* target, std::size_t size) {
    if (next_ == end_) {
        const ssize_t count = retried([&] { return receive(); });
        if (count <= 0) return count;
        next_ = buffer_.data();
        end_ = next_ + count;
    }
    const std::size_t length = std::min(size, static_cast<std::size_t>(end_ - next_));
    std::copy_n(next_, length, target);
    next_ += length;
    return static_cast<ssize_t>(length);
}

ssize_t Connection::write(const char* bytes, std::size_t size) {
    const std::size_t allowed = std::min(size, budget);
    if (allowed == 0) return -1;
    const ssize_t count = retried([&] { return send(bytes, allowed); });
    if (count > 0) budget -= static_cast<std::size_t>(count);
    return count;
}

ssize_t Connection::receive() {
    if (!tls_) return ::recv(socket_, buffer_.data(), buffer_.size(), 0);
    return SSL_read(tls_.get(), buffer_.data(), static_cast<int>(buffer_.size()));
}

// OpenSSL writes without MSG_NOSIGNAL; the library has SIGPIPE ignored in the whole process.
ssize_t Connection::send(const char* bytes, std::size_t size) {
    if (!tls_) return ::send(socket_, bytes, size, MSG_NOSIGNAL);
    std::size_t count = 0;
    return SSL_write_ex(tls_.get(), bytes, size, &count) == 1 ? static_cast<ssize_t>(count) : -1;
}

void ConnectionThreads::enqueue(std::function<void()> serve) {
    workers_.remove_if([](const Worker& worker) { return worker.isDone.load(); });
    Worker& worker = workers_.emplace_back();
    worker.thread = std::jthread([&worker, serve = std::move(serve)] {
        serve();
        worker.isDone = true;
    });
}

}  // namespace DemoServer
