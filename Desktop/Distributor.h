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
    Distributor(Bus& bus, std::string service);

    /// Registers with the preferred distributor, or where it is not there with the first of those that run or could, by
    /// name. `registered` is told its name once it has taken the registration; why none has is in the log.
    void registerWith(const std::optional<std::string>& preferred, const std::string& token,
                      std::function<void(const std::string& distributor)> registered);

private:
    using Registered = std::function<void(const std::string& distributor)>;
    struct Request {
        std::string distributor, token;
        Registered registered;
    };

    void registerByVersion2(const Request& request);
    void registerByVersion1(const Request& request);

    Bus& bus_;
    std::string service_;
    std::unique_ptr<sdbus::IProxy> dbus_, distributor_;
};

}  // namespace Desktop
