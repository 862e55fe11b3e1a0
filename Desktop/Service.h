#pragma once

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Desktop/Connector.h"
#include "Desktop/Distributor.h"
#include "Desktop/NotificationCenter.h"
#include "Desktop/PushQueue.h"
#include "Desktop/RecentMessages.h"
#include "Desktop/Registration.h"
#include "Desktop/Spool.h"

namespace Desktop {

/// What the bus starts when a push has come: it receives pushes, shows them and takes the user's answers to the client,
/// until nothing is left to do.
class Service : private Connector::Listener {
public:
    static constexpr const char* busName = "com.norvane.tessel.NotificationService";

    /// `state` is the directory for what outlives the process, `extension` the extension's program. `idle` is for how
    /// long nothing must happen before the service ends. Throws `sdbus::Error`, `Foundation::CocoaError`, and
    /// `std::runtime_error` where another process has the bus name.
    Service(std::filesystem::path state, std::filesystem::path extension, Texts texts, std::chrono::milliseconds idle);

    /// Serves until it is idle, or told to end by a signal.
    void run();

private:
    void received(const std::string& token, const Foundation::Data& message,
                  const std::optional<std::string>& identifier) override;
    void endpointChanged(const std::string& token, const std::string& endpoint) override;
    void unregistered(const std::string& token) override;

    bool isOurs(const std::string& token);
    void remember();
    void takeArrived();
    void save() const;
    void finishUp();
    void restartIdleTime();
    void endIfIdle();
    bool isIdle() const;

    std::filesystem::path state_;
    std::chrono::milliseconds idle_;
    EventLoop loop_;
    Bus bus_;
    std::string name_;
    Spool spool_;
    Registration registration_;
    RecentMessages recent_;
    NotificationCenter center_;
    PushQueue queue_;
    Connector connector_;
    Distributor distributor_;
    std::vector<Spool::Entry> arrived_;  ///< acknowledged, and not yet in the queue
    bool isFinishing_ = false, hasToldUnknown_ = false;
    EventLoop::Source arrival_, idleTimer_;
    std::vector<EventLoop::Source> signals_;
};

}  // namespace Desktop
