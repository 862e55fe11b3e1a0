#include "Desktop/NotificationDaemon.h"

#include <map>
#include <utility>
#include <vector>

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

/// What to do with an answer; an error ends the preparation.
template <class Value>
auto NotificationDaemon::answered(std::function<void(Value)> take) {
    return [this, take = std::move(take)](const sdbus::Error* error, Value value) {
        bus_.guarded([&] {
            if (error != nullptr) return std::exchange(prepared_, {})(error->getName());
            take(value);
        });
    };
}

NotificationDaemon::NotificationDaemon(Bus& bus, Listener& listener)
    : bus_(bus),
      listener_(listener),
      daemon_(bus.proxy(name, path)),
      dbus_(bus.proxy(busName, "/org/freedesktop/DBus")) {
    listen();
    ownerMatch_ = bus.onOwnerChange("arg0='" + std::string(name) + '\'',
                                    [this](const std::string&, const std::string& owner) { ownerChanged(owner); });
}

void NotificationDaemon::listen() {
    daemon_->uponSignal("NotificationClosed").onInterface(name).call([this](std::uint32_t number, std::uint32_t) {
        bus_.guarded([&] { listener_.closed(number); });
    });
    daemon_->uponSignal("ActivationToken")
        .onInterface(name)
        .call([this](std::uint32_t number, const std::string& token) {
            token_ = {number, token};
        });
    daemon_->uponSignal("ActionInvoked").onInterface(name).call([this](std::uint32_t number, const std::string& key) {
        const auto token = std::exchange(token_, {});
        bus_.guarded([&] { listener_.chosen(number, key, token.first == number ? token.second : ""); });
    });
    daemon_->uponSignal("NotificationReplied")
        .onInterface(name)
        .call([this](std::uint32_t number, const std::string& text) {
            bus_.guarded([&] { listener_.replied(number, text); });
        });
    daemon_->finishRegistration();
}

void NotificationDaemon::ownerChanged(const std::string& owner) {
    if (owner == owner_) return;
    owner_ = owner;
    abilities_.reset();
    listener_.daemonChanged(!owner.empty());
}

void NotificationDaemon::prepare(Prepared answer) {
    prepared_ = std::move(answer);
    dbus_->callMethodAsync("GetId").onInterface(busName).uponReplyInvoke(
        answered<const std::string&>([this](const std::string& id) {
            busID_ = id;
            startServer();
        }));
}

void NotificationDaemon::startServer() {
    dbus_->callMethodAsync("StartServiceByName")
        .onInterface(busName)
        .withArguments(std::string(name), std::uint32_t{0})
        .uponReplyInvoke([this](const sdbus::Error* error, std::uint32_t) {
            // A server that nobody has told the bus how to start is unknown to it even while it runs: its owner tells.
            const bool mayRun = error == nullptr || error->getName() == "org.freedesktop.DBus.Error.ServiceUnknown";
            bus_.guarded([&] { mayRun ? askOwner() : std::exchange(prepared_, {})(error->getName()); });
        });
}

void NotificationDaemon::askOwner() {
    dbus_->callMethodAsync("GetNameOwner")
        .onInterface(busName)
        .withArguments(std::string(name))
        .uponReplyInvoke(answered<const std::string&>([this](const std::string& owner) {
            owner_ = owner;
            askAbilities();
        }));
}

void NotificationDaemon::askAbilities() {
    daemon_->callMethodAsync("GetCapabilities")
        .onInterface(name)
        .withTimeout(forever)
        .uponReplyInvoke(answered<const std::vector<std::string>&>([this](const auto& capabilities) {
            abilities_ = Abilities::of(capabilities);
            std::exchange(prepared_, {})("");
        }));
}

void NotificationDaemon::show(const Notification& notification, std::uint32_t replaced,
                              const std::function<void()>& aboutToTell, Answer answer) {
    std::vector<std::string> actions;
    for (const auto& [key, label] : notification.actions) {
        actions.push_back(key);
        actions.push_back(label);
    }
    constexpr std::int32_t asTheServerLikes = -1, never = 0;
    const auto replied = [this, answer](sdbus::MethodReply& reply, const sdbus::Error* error) {
        bus_.guarded([&] {
            if (error != nullptr) return answer(std::nullopt, error->getName());
            std::uint32_t number = 0;
            try {
                reply >> number;
            } catch (const sdbus::Error& wrongType) {
                return answer(std::nullopt, wrongType.getName());
            }
            answer(number, "");
        });
    };
    try {
        auto call = daemon_->createMethodCall(name, "Notify");
        call << std::string("Tessel") << replaced << std::string() << notification.summary << notification.body
             << actions << hintsOf(notification) << (notification.isError ? never : asTheServerLikes);
        aboutToTell();
        daemon_->callMethod(call, replied, forever);
    } catch (const sdbus::Error& error) {
        answer(std::nullopt, error.getName());  // it cannot be sent, which is for this one alone
    }
}

void NotificationDaemon::close(std::uint32_t notification, std::function<void()> answered) {
    daemon_->callMethodAsync("CloseNotification")
        .onInterface(name)
        .withTimeout(forever)
        .withArguments(notification)
        .uponReplyInvoke([this, answered = std::move(answered)](const sdbus::Error*) { bus_.guarded(answered); });
}

}  // namespace Desktop
