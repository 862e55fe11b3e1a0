#include "Desktop/Bus.h"

#include <map>
#include <utility>

namespace Desktop {

namespace {

constexpr const char* busInterface = "org.freedesktop.DBus";

}  // namespace

Bus::Bus(EventLoop& loop) : connection_(sdbus::createSessionBusConnection()) {
    bus_ = proxy(busInterface, "/org/freedesktop/DBus");
    source_ = loop.watch(
        connection_->getEventLoopPollData().fd, [this] { return wish(); },
        [this] {
            while (connection_->processPendingRequest())
                continue;
        });
}

EventLoop::Wish Bus::wish() const {
    const auto wanted = connection_->getEventLoopPollData();
    return {static_cast<std::uint32_t>(wanted.events), wanted.timeout_usec};
}

std::unique_ptr<sdbus::IProxy> Bus::proxy(const std::string& name, const std::string& path) {
    return sdbus::createProxy(*connection_, name, path);
}

}  // namespace Desktop
