#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "Desktop/Bus.h"
#include "Desktop/Notification.h"

namespace Desktop {

/// The desktop's notification server: `org.freedesktop.Notifications` on the session bus, as freedesktop.org's desktop
/// notifications 1.2 have it. All answers come in the loop; a server that hangs answers when it goes on, or, with an
/// error, when it goes.
class NotificationDaemon {
public:
    /// Which of all servers that ever ran: what has numbers of another one's is no notification of this one.
    using Identity = std::string;

    struct Listener {
        virtual ~Listener() = default;
        /// The server has ended, or another one than before is there.
        virtual void daemonChanged(bool isThere) = 0;
        virtual void closed(std::uint32_t notification) = 0;
        /// The user has chosen an action, by its key. The token lets the client come to the front; empty for none.
        virtual void chosen(std::uint32_t notification, const std::string& key, const std::string& token) = 0;
        virtual void replied(std::uint32_t notification, const std::string& text) = 0;
    };

    /// The listener must outlive this.
    NotificationDaemon(Bus& bus, Listener& listener);

    /// Gets ready to show, one time after the other. Answers with the name of an error, empty where all is well. The bus
    /// starts a server where it can.
    using Prepared = std::function<void(const std::string& error)>;
    void prepare(Prepared answer);
    bool isReady() const { return abilities_.has_value(); }

    /// Of the server that was there when it was last ready.
    const Abilities& abilities() const { return *abilities_; }
    Identity identity() const { return busID_ + ' ' + owner_; }

    /// Shows a notification, in place of another one where `replaced` is none of 0. Answers with its number, or with
    /// the name of an error. `aboutToTell` is called immediately before the server is told.
    using Answer = std::function<void(std::optional<std::uint32_t> number, const std::string& error)>;
    void show(const Notification& notification, std::uint32_t replaced, const std::function<void()>& aboutToTell,
              Answer answer);

    /// Closes one. One that the user has closed meanwhile is an error to some servers, and closed to `answered`.
    void close(std::uint32_t notification, std::function<void()> answered);

private:
    void listen();
    void ownerChanged(const std::string& owner);
    // The steps of the preparation: the server started, its own name on the bus, what it can do.
    void startServer();
    void askOwner();
    void askAbilities();
    template <class Value>
    auto answered(std::function<void(Value)> take);

    Bus& bus_;
    Listener& listener_;
    std::unique_ptr<sdbus::IProxy> daemon_, dbus_;
    sdbus::Slot ownerMatch_;
    std::optional<Abilities> abilities_;
    std::string owner_, busID_;
    Prepared prepared_;
    std::pair<std::uint32_t, std::string> token_;  ///< the last one, and for which notification
};

}  // namespace Desktop
