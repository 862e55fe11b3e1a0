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

    /// For one's own life: the object of another program.
    std::unique_ptr<sdbus::IProxy> proxy(const std::string& name, const std::string& path);

    /// Asks to be told who has a name: a connection's own name (":1.5"), empty for nobody. The first answer is to this
    /// question, each other one to a change.
    void watchOwner(const std::string& name, std::function<void(const std::string& owner)> tell);

private:
    EventLoop::Wish wish() const;

    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<sdbus::IProxy> bus_;
    EventLoop::Source source_;
};

}  // namespace Desktop
