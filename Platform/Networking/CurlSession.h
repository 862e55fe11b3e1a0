#pragma once

#include <cstddef>
#include <map>
#include <mutex>
#include <string>
#include <vector>

#include "Networking/URLSession.h"

namespace Foundation {

/// The session over libcurl. Handles are kept by scheme, host and port, so that a push's second request goes over the
/// first one's connection; a handle serves one thread at a time.
class CurlSession final : public URLSession {
public:
    /// The largest answer that is taken, in bytes.
    static constexpr std::size_t maximumAnswer = std::size_t{8} << 20;

    /// Begins to load libcurl, in a thread of its own, where none has; the first request waits for it.
    CurlSession();
    ~CurlSession() override;
    CurlSession(const CurlSession&) = delete;
    CurlSession& operator=(const CurlSession&) = delete;

    std::pair<Data, HTTPURLResponse> data(const URLRequest& request) override;

private:
    class Lease;

    static std::pair<Data, long> perform(void* handle, const URLRequest& request);
    void* take(const std::string& origin);
    void giveBack(const std::string& origin, void* handle);

    /// Idle connections beyond this number are closed, the fullest origin's first.
    static constexpr std::size_t maximumIdle = 64;

    std::mutex mutex_;
    std::map<std::string, std::vector<void*>> idle_;
    std::size_t idleCount_ = 0;
};

}  // namespace Foundation
