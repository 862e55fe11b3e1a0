#pragma once

#include <mutex>
#include <utility>

namespace os {

/// A lock with the state that it guards. Not recursive and not fair. It is held for the length of `withLock` alone:
/// values are to be moved in and out there, and neither destroyed nor called.
template <class State>
class OSAllocatedUnfairLock {
public:
    OSAllocatedUnfairLock() = default;
    explicit OSAllocatedUnfairLock(State initial) : state_(std::move(initial)) {}

    /// Calls `body` with the state, the lock held, and returns what it returns.
    template <class Body>
    decltype(auto) withLock(Body&& body) {
        const std::lock_guard lock(mutex_);
        return std::forward<Body>(body)(state_);
    }

private:
    std::mutex mutex_;
    State state_{};
};

}  // namespace os
