#include "Desktop/NotificationDaemon.h"

#include <map>
#include <utility>
#include <vector>

#include "ChatModel/PushPayload.h"

namespace Desktop {

namespace {

constexpr const char* name = "org.freedesktop.Notifications";
constexpr const char* path = "/org/freedesktop/Notifications";
constexpr const char* busName = "org.freedesktop.DBus";

/// A server may be slow, or hang and go on: what it was told once must not be told again meanwhile.
constexpr std::uint64_t forever = UINT64_MAX;

using Hints = std::map<std::string, sdbus::Variant>;

sdbus::Variant variantOf(const Picture& picture) {
    constexpr std::int32_t bitsPerSample = 8;
    const std::int32_t channels = picture.hasAlpha ? 4 : 3;
    return sdbus::Variant(sdbus::Struct<std::int32_t, std::int32_t, std::int32_t, bool, std::int32_t, std::int32_t,
                                        std::vector<std::uint8_t>>(
        picture.width, picture.height, picture.rowBytes, picture.hasAlpha, bitsPerSample, channels, picture.pixels));
}

Hints hintsOf(const Notification& notification) {
    Hints hints;
    hints["urgency"] = sdbus::Variant(static_cast<std::uint8_t>(notification.urgency));
    hints["desktop-entry"] = sdbus::Variant(std::string("com.norvane.tessel"));
    if (!notification.isError) hints["category"] = sdbus::Variant(std::string("im.received"));
    if (notification.isSilent)
        hints["suppress-sound"] = sdbus::Variant(true);
    else
        hints["sound-name"] = sdbus::Variant(std::string("message-new-instant"));
    if (notification.picture) hints["image-data"] = variantOf(*notification.picture);
    for (const auto& [key, label] : notification.actions)
        if (key == Notification::inlineReplyKey) hints["x-kde-reply-submit-button-text"] = sdbus::Variant(label);
    return hints;
}

}  // namespace

NotificationDaemon::NotificationDaemon(Bus& bus, Listener& listener)
    : bus_(bus),
      listener_(listener),
      daemon_(bus.proxy(name, path)),
      dbus_(bus.proxy(busName, "/org/freedesktop/DBus")) {
    listen();
}

void NotificationDaemon::listen() {
    daemon_->uponSignal("NotificationClosed").onInterface(name).call([this](std::uint32_t number, std::uint32_t) {
        listener_.closed(number);
    });
    daemon_->uponSignal("ActivationToken")
        .onInterface(name)
        .call([this](std::uint32_t number, const std::string& token) {
            token_ = {number, token};
        });
    daemon_->uponSignal("ActionInvoked").onInterface(name).call([this](std::uint32_t number, const std::string& key) {
        const auto token = std::exchange(token_, {});
        listener_.chosen(number, key, token.first == number ? token.second : "");
    });
    daemon_->uponSignal("NotificationReplied")
        .onInterface(name)
        .call([this](std::uint32_t number, const std::string& text) { listener_.replied(number, text); });
    daemon_->finishRegistration();
    dbus_->uponSignal("NameOwnerChanged")
        .onInterface(busName)
        .call([this](const std::string& changed, const std::string&, const std::string& owner) {
            if (changed == name) ownerChanged(owner);
        });
    dbus_->finishRegistration();
}

void NotificationDaemon::ownerChanged(const std::string& owner) {
    if (owner == owner_) return;
    owner_ = owner;
    abilities_.reset();
    if (!owner.empty()) listener_.daemonStarted();
}

void NotificationDaemon::prepare(std::function<void(const std::string* error)> answer) {
    // The bus' own identifier first, then the server's owner, which it starts, and last what the server can do.
    const auto failed = [answer](const sdbus::Error& error) { answer(&error.getName()); };
    const auto asked = [this, answer, failed](const sdbus::Error* error, const std::vector<std::string>& capabilities) {
        if (error != nullptr) return failed(*error);
        abilities_ = Abilities::of(capabilities);
        answer(nullptr);
    };
    const auto owned = [this, asked, failed](const sdbus::Error* error, const std::string& owner) {
        if (error != nullptr) return failed(*error);
        owner_ = owner;
        identity_ = busID_ + ' ' + owner;
        daemon_->callMethodAsync("GetCapabilities").onInterface(name).withTimeout(forever).uponReplyInvoke(asked);
    };
    const auto started = [this, owned, failed](const sdbus::Error* error, std::uint32_t) {
        if (error != nullptr) return failed(*error);
        dbus_->callMethodAsync("GetNameOwner")
            .onInterface(busName)
            .withArguments(std::string(name))
            .uponReplyInvoke(owned);
    };
    const auto identified = [this, started, failed](const sdbus::Error* error, const std::string& id) {
        if (error != nullptr) return failed(*error);
        busID_ = id;
        dbus_->callMethodAsync("StartServiceByName")
            .onInterface(busName)
            .withArguments(std::string(name), std::uint32_t{0})
            .uponReplyInvoke(started);
    };
    dbus_->callMethodAsync("GetId").onInterface(busName).uponReplyInvoke(identified);
}

void NotificationDaemon::show(const Notification& notification, std::uint32_t replaced, Answer answer) {
    std::vector<std::string> actions;
    for (const auto& [key, label] : notification.actions) {
        actions.push_back(key);
        actions.push_back(label);
    }
    constexpr std::int32_t asTheServerLikes = -1, never = 0;
    daemon_->callMethodAsync("Notify")
        .onInterface(name)
        .withTimeout(forever)
        .withArguments(std::string("Tessel"), replaced, std::string(), notification.summary, notification.body, actions,
                       hintsOf(notification), notification.isError ? never : asTheServerLikes)
        .uponReplyInvoke([answer = std::move(answer)](const sdbus::Error* error, std::uint32_t number) {
            if (error != nullptr) return answer(std::nullopt, error->getName());
            answer(number, "");
        });
}

void NotificationDaemon::close(std::uint32_t notification) {
    // One that the user has closed meanwhile is an error to some servers.
    daemon_->callMethodAsync("CloseNotification")
        .onInterface(name)
        .withArguments(notification)
        .uponReplyInvoke([](const sdbus::Error*) {});
}

}  // namespace Desktop
