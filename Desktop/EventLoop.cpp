#include "Desktop/EventLoop.h"

#include <csignal>
#include <limits>
#include <system_error>
#include <utility>

#include <systemd/sd-event.h>

namespace Desktop {

namespace {

void check(int result) {
    if (result < 0) throw std::system_error(-result, std::generic_category(), "sd-event");
}

}  // namespace

struct EventLoop::Source::State {
    EventLoop* loop;
    Callback callback;
    std::function<Wish()> wish;
    sd_event_source* source = nullptr;
    sd_event_source* timer = nullptr;

    ~State() {
        sd_event_source_disable_unref(source);
        sd_event_source_disable_unref(timer);
    }

    /// Calls back, and keeps what is called alive meanwhile.
    static int call(void* data) {
        auto& state = *static_cast<State*>(data);
        state.loop->guarded([&state] {
            const Callback callback = state.callback;
            callback();
        });
        return 0;
    }

    static int prepare(sd_event_source*, void* data) {
        auto& state = *static_cast<State*>(data);
        state.loop->guarded([&] {
            const Wish wish = state.wish();
            check(sd_event_source_set_io_events(state.source, wish.events));
            const bool waits = wish.until != std::numeric_limits<std::uint64_t>::max();
            if (waits) check(sd_event_source_set_time(state.timer, wish.until));
            check(sd_event_source_set_enabled(state.timer, waits ? SD_EVENT_ONESHOT : SD_EVENT_OFF));
        });
        return 0;
    }
};

EventLoop::EventLoop() {
    check(sd_event_new(&loop_));
}

EventLoop::~EventLoop() {
    sd_event_unref(loop_);
}

void EventLoop::guarded(const std::function<void()>& call) {
    try {
        call();
    } catch (...) {
        thrown_ = std::current_exception();
        leave();
    }
}

EventLoop::Source EventLoop::watch(int descriptor, std::uint32_t events, Callback callback) {
    const auto state = std::make_shared<Source::State>(this, std::move(callback));
    const auto called = [](sd_event_source*, int, std::uint32_t, void* data) { return Source::State::call(data); };
    check(sd_event_add_io(loop_, &state->source, descriptor, events, called, state.get()));
    return Source(state);
}

EventLoop::Source EventLoop::watch(int descriptor, std::function<Wish()> wish, Callback callback) {
    Source source = watch(descriptor, 0, std::move(callback));
    auto& state = *source.state_;
    state.wish = std::move(wish);
    const auto called = [](sd_event_source*, std::uint64_t, void* data) { return Source::State::call(data); };
    check(sd_event_add_time(loop_, &state.timer, CLOCK_MONOTONIC, 0, 1, called, &state));
    check(sd_event_source_set_enabled(state.timer, SD_EVENT_OFF));
    check(sd_event_source_set_prepare(state.source, Source::State::prepare));
    return source;
}

EventLoop::Source EventLoop::after(std::chrono::milliseconds delay, Callback callback) {
    const auto state = std::make_shared<Source::State>(this, std::move(callback));
    const auto called = [](sd_event_source*, std::uint64_t, void* data) { return Source::State::call(data); };
    const auto microseconds = std::chrono::microseconds(delay).count();
    check(sd_event_add_time_relative(loop_, &state->source, CLOCK_MONOTONIC, microseconds, 1, called, state.get()));
    return Source(state);
}

EventLoop::Source EventLoop::onSignal(int signal, Callback callback) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, signal);
    check(-::pthread_sigmask(SIG_BLOCK, &signals, nullptr));
    const auto state = std::make_shared<Source::State>(this, std::move(callback));
    const auto called = [](sd_event_source*, const signalfd_siginfo*, void* data) { return Source::State::call(data); };
    check(sd_event_add_signal(loop_, &state->source, signal, called, state.get()));
    return Source(state);
}

void EventLoop::run() {
    const int result = sd_event_loop(loop_);
    if (thrown_) std::rethrow_exception(std::exchange(thrown_, nullptr));
    check(result);
}

void EventLoop::leave() {
    sd_event_exit(loop_, 0);
}

}  // namespace Desktop
