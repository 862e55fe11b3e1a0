#pragma once

#include <chrono>
#include <deque>
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
    /// name. `registered` is told its name once it has taken the registration. Where none has, those that may later are
    /// asked again, ever more rarely, and any one that comes; why is in the log. To be called once.
    using Registered = std::function<void(const std::string& distributor)>;
    void registerWith(const std::optional<std::string>& preferred, const std::string& token, Registered registered);

    /// Whether one is being asked, or is to be asked again.
    bool isTrying() const { return state_ == State::asking || state_ == State::waiting; }

private:
    enum class State { idle, asking, waiting, registered };

    void ask();
    void askAmong(const std::vector<std::string>& running, const std::vector<std::string>& startable);
    void askFirst();
    void arrived(const std::string& distributor);
    void succeeded();
    void listingFailed(const std::string& error);
    void refused(const std::string& reason);
    void askNext(const std::string& reason);
    void registerByVersion2();
    void registerByVersion1();

    EventLoop& loop_;
    Bus& bus_;
    std::string service_;
    std::unique_ptr<sdbus::IProxy> dbus_, distributor_;
    sdbus::Slot arrivals_;
    std::string preferred_, token_;
    Registered registered_;
    State state_ = State::idle;
    std::deque<std::string> toAsk_;  ///< the first one is being asked
    bool mayTakeItLater_ = false;    ///< whether one of those that were asked may
    std::chrono::milliseconds delay_;
    EventLoop::Source next_;
};

}  // namespace Desktop
