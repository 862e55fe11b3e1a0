#include "Desktop/Bus.h"

#include <cstdint>

namespace Desktop {

Bus::Bus(EventLoop& loop) : loop_(loop), connection_(sdbus::createSessionBusConnection()) {
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
