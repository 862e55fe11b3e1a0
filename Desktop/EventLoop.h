#pragma once

#include <chrono>
#include <cstdint>
#include <exception>
#include <functional>
#include <memory>

struct sd_event;
struct sd_event_source;

namespace Desktop {

/// Waits in one thread for all that a process can be told: descriptors, points in time, signals. What a
/// callback throws ends `run`, which throws it on. A callback may do anything, its own source's end included.
class EventLoop {
public:
    using Callback = std::function<void()>;

    /// Keeps a callback for as long as it lives; an empty one keeps none.
    class Source {
    public:
        Source() = default;

    private:
        friend class EventLoop;
        struct State;
        explicit Source(std::shared_ptr<State> state) : state_(std::move(state)) {}
        std::shared_ptr<State> state_;
    };

    EventLoop();
    ~EventLoop();
    EventLoop(const EventLoop&) = delete;
    EventLoop& operator=(const EventLoop&) = delete;

    /// Calls back whenever the descriptor has one of these events (as poll(2) names them: POLLIN, POLLOUT), an error or
    /// its other end's end.
    [[nodiscard]] Source watch(int descriptor, std::uint32_t events, Callback callback);

    /// The same, asked before each wait what is to be waited for: the events, and a point in time (CLOCK_MONOTONIC, in
    /// microseconds; the largest number for none) at which to call back at the latest.
    struct Wish {
        std::uint32_t events;
        std::uint64_t until;
    };
    [[nodiscard]] Source watch(int descriptor, std::function<Wish()> wish, Callback callback);

    /// Calls back once, when this time has passed.
    [[nodiscard]] Source after(std::chrono::milliseconds delay, Callback callback);

    /// Calls back for each arrival of a signal. No other thread may have it unblocked.
    [[nodiscard]] Source onSignal(int signal, Callback callback);

    /// Waits and calls back until `leave` is called.
    void run();
    void leave();

    /// Calls; what it throws ends `run`, as if a callback had thrown it. For whoever is called by a library that knows no
    /// exceptions.
    void guarded(const std::function<void()>& call);

private:
    sd_event* loop_ = nullptr;
    std::exception_ptr thrown_;
};

}  // namespace Desktop
