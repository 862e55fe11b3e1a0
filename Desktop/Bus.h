#pragma once

#include <functional>
#include <memory>
#include <string>

#include <sdbus-c++/sdbus-c++.h>

#include "Desktop/EventLoop.h"

namespace Desktop {

/// A connection to the session bus, served by a loop. What is called on it answers in the loop; nothing waits.
class Bus {
public:
    /// Throws `sdbus::Error` where there is no bus. When the connection is lost `run` of the loop throws one.
    explicit Bus(EventLoop& loop);

    sdbus::IConnection& connection() { return *connection_; }

    /// The object of another program.
    std::unique_ptr<sdbus::IProxy> proxy(const std::string& name, const std::string& path);

    /// For all that is done when something comes: the library passes on its own errors alone, through frames of C.
    void guarded(const std::function<void()>& call) { loop_.guarded(call); }

private:
    EventLoop::Wish wish() const;

    EventLoop& loop_;
    std::unique_ptr<sdbus::IConnection> connection_;
    EventLoop::Source source_;
};

}  // namespace Desktop
