#pragma once

#include <chrono>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include <sys/types.h>

#include "Desktop/EventLoop.h"
#include "Foundation/Descriptor.h"

namespace Desktop {

/// The extension's program at work on one push, in a process of its own: whatever becomes of it costs no other push
/// anything. It is killed where it takes longer than it may, and with this object.
class ExtensionProcess {
public:
    /// What it has written; nothing where it could not be started, was killed, or ended otherwise than with a line.
    using Completion = std::function<void(std::optional<std::string> line)>;

    /// Its own limit, and then the time to say that the extension has not answered.
    static constexpr std::chrono::seconds longest{35};

    /// Starts the program with the file that holds the push, a JSON object. `complete` is called by the loop, once; why
    /// there is no line is in the log by then.
    ExtensionProcess(EventLoop& loop, const std::filesystem::path& program, const std::filesystem::path& push,
                     Completion complete, std::chrono::milliseconds limit = longest);
    ~ExtensionProcess();
    ExtensionProcess(const ExtensionProcess&) = delete;
    ExtensionProcess& operator=(const ExtensionProcess&) = delete;

private:
    void start(const std::filesystem::path& program, const std::filesystem::path& push);
    void read();
    /// Ends the process, and tells why where that is not how it should end.
    void end(std::string reason = "");

    Completion complete_;
    pid_t process_ = -1;
    Foundation::Descriptor output_;
    std::string written_;
    EventLoop::Source readable_, timer_;
};

}  // namespace Desktop
