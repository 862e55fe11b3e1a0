#pragma once

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <list>
#include <memory>
#include <string>
#include <thread>

#include <httplib.h>
#include <openssl/ssl.h>

#include "Foundation/Releaser.h"

namespace DemoServer {

/// A connection, as the library reads requests from it and writes answers to it. It belongs to one thread.
class Connection final : public httplib::Stream {
public:
    Connection(socket_t socket, std::uint64_t count) : number(count), socket_(socket) {}

    /// Puts TLS between the socket and what follows; false where the client does not go along.
    bool secure(SSL_CTX* context);

    /// Closes it for the client, even if a child process has inherited the socket. A connection that was to be dropped
    /// does not take leave as TLS would have it.
    void shutDown();

    ssize_t read(char* target, std::size_t size) override;
    ssize_t write(const char* bytes, std::size_t size) override;

    bool is_readable() const override { return true; }
    bool is_writable() const override { return true; }
    void get_remote_ip_and_port(std::string&, int&) const override {}
    void get_local_ip_and_port(std::string&, int&) const override {}
    socket_t socket() const override { return socket_; }

    const std::uint64_t number;
    httplib::Headers headers;                                      ///< of the request in hand
    std::size_t budget = std::numeric_limits<std::size_t>::max();  ///< bytes that may still be sent
    bool isLast = false;                                           ///< whether it is closed behind this answer

private:
    ssize_t receive();
    ssize_t send(const char* bytes, std::size_t size);

    socket_t socket_;
    std::unique_ptr<SSL, Foundation::Releaser<SSL_free>> tls_;
    std::array<char, 4096> buffer_{};
    const char* next_ = nullptr;
    const char* end_ = nullptr;
};

/// The connection that this thread serves; the library hands none to the handler of a request.
inline thread_local Connection* connection = nullptr;

/// A thread for every connection, so that one that waits keeps nobody else waiting.
class ConnectionThreads final : public httplib::TaskQueue {
public:
    void enqueue(std::function<void()> serve) override;
    void shutdown() override { workers_.clear(); }

private:
    struct Worker {
        std::atomic<bool> isDone = false;
        std::jthread thread;
    };
    std::list<Worker> workers_;
};

}  // namespace DemoServer
