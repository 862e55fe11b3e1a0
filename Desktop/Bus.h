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

    /// Calls back whenever a name gets an owner or loses it (the owner is empty then), while the slot lives. `names` is the
    /// part of a match rule that tells which: "arg0='org.example'".
    [[nodiscard]] sdbus::Slot onOwnerChange(
        const std::string& names, std::function<void(const std::string& name, const std::string& owner)> changed);

    /// For all that is done when something comes: the library passes on its own errors alone, through frames of C.
    void guarded(const std::function<void()>& call) { loop_.guarded(call); }

private:
    EventLoop::Wish wish() const;

    EventLoop& loop_;
    std::unique_ptr<sdbus::IConnection> connection_;
    EventLoop::Source source_;
};

}  // namespace Desktop
