#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Desktop/Bus.h"

namespace Desktop {

/// The program that receives pushes for all others, over the network: UnifiedPush's Distributor2, and Distributor1
/// where it knows no other.
class Distributor {
public:
    /// Our own bus name, which it is to call.
    Distributor(EventLoop& loop, Bus& bus, std::string service);

    /// Registers with the preferred distributor, else with the first of those that run or could and take it, by
    /// name. `registered` is told its name once it has taken the registration; why none has is in the log.
    void registerWith(const std::optional<std::string>& preferred, const std::string& token,
                      std::function<void(const std::string& distributor)> registered);

private:
    using Registered = std::function<void(const std::string& distributor)>;
    struct Request {
        std::vector<std::string> distributors;  ///< that are still to be asked, one after the other
        std::string token;
        Registered registered;
    };

    void registerWithFirst(Request request);
    void failed(Request request, const std::string& reason);
    void registerByVersion2(const Request& request);
    void registerByVersion1(const Request& request);

    EventLoop& loop_;
    Bus& bus_;
    std::string service_;
    std::unique_ptr<sdbus::IProxy> dbus_, distributor_;
    EventLoop::Source next_;
};

}  // namespace Desktop
