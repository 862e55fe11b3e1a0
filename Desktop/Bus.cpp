#include "Desktop/Bus.h"

#include <cstdint>
#include <utility>

namespace Desktop {

Bus::Bus(EventLoop& loop) : loop_(loop), connection_(sdbus::createSessionBusConnection()) {
    source_ = loop.watch(
        connection_->getEventLoopPollData().fd, [this] { return wish(); },
        // One at a time, so that under a stream of messages all else has its turn; what it has read ahead it wishes for.
        [this] { connection_->processPendingRequest(); });
}

EventLoop::Wish Bus::wish() const {
    const auto wanted = connection_->getEventLoopPollData();
    return {static_cast<std::uint32_t>(wanted.events), wanted.timeout_usec};
}

std::unique_ptr<sdbus::IProxy> Bus::proxy(const std::string& name, const std::string& path) {
    return sdbus::createProxy(*connection_, name, path);
}

sdbus::Slot Bus::onOwnerChange(const std::string& names,
                               std::function<void(const std::string& name, const std::string& owner)> changed) {
    const std::string change = "type='signal',sender='org.freedesktop.DBus',member='NameOwnerChanged',";
    return connection_->addMatch(change + names, [this, changed = std::move(changed)](sdbus::Message& message) {
        guarded([&] {
            std::string name, oldOwner, owner;
            message >> name >> oldOwner >> owner;
            changed(name, owner);
        });
    });
}

}  // namespace Desktop
