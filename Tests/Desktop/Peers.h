#pragma once

#include <chrono>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <sdbus-c++/sdbus-c++.h>

// The other programs on a desktop's bus, as tests play them.

using Values = std::map<std::string, sdbus::Variant>;

/// Whether the condition comes true, which it is asked ever again.
template <class Condition>
bool eventually(Condition condition, std::chrono::seconds bound = std::chrono::seconds(40)) {
    for (const auto end = std::chrono::steady_clock::now() + bound; !condition();) {
        if (std::chrono::steady_clock::now() > end) return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

/// Texts and booleans: "post_id=p text=Hello ".
inline std::string described(const Values& values) {
    std::string text;
    for (const auto& [key, value] : values)
        text += key + '=' + (value.containsValueOfType<bool>() ? std::to_string(value.get<bool>()) : value.get<std::string>()) + ' ';
    return text;
}

/// A program on the bus, with one object, that another thread serves.
class Peer {
public:
    Peer(std::string name, const std::string& path)
        : name_(std::move(name)),
          connection_(sdbus::createSessionBusConnection()),
          object_(sdbus::createObject(*connection_, path)) {}
    virtual ~Peer() = default;
    Peer(Peer&&) = delete;

protected:
    void serve() {
        object_->finishRegistration();
        connection_->requestName(name_);
        connection_->enterEventLoopAsync();
    }
    template <class Call>
    auto locked(Call call) const {
        const std::lock_guard lock(mutex_);
        return call();
    }

    std::string name_;
    mutable std::mutex mutex_;
    std::unique_ptr<sdbus::IConnection> connection_;
    std::unique_ptr<sdbus::IObject> object_;
};

/// A notification server that shows nothing, and answers when and as a test says; and a dock.
class NotificationServer final : public Peer {
public:
    using Number = std::uint32_t;
    struct Shown {
        Number number, replaced;
        std::string summary, body;
        std::vector<std::string> actions;
        Values hints;
        std::int32_t timeout;
    };

    /// `isHeld`: the answers wait until they are released. `refusals` are the errors that the first ones are answered with.
    explicit NotificationServer(std::vector<std::string> capabilities = {"actions", "body", "body-markup", "inline-reply"},
                                bool isHeld = false, std::deque<std::string> refusals = {})
        : Peer("org.freedesktop.Notifications", "/org/freedesktop/Notifications"),
          isHeld_(isHeld),
          refusals_(std::move(refusals)) {
        object_->registerMethod("GetCapabilities").onInterface(name_).implementedAs([=] { return capabilities; });
        object_->registerMethod("Notify").onInterface(name_).implementedAs(
            [this](sdbus::Result<Number>&& result, const std::string&, Number replaced, const std::string&,
                   const std::string& summary, const std::string& body, const std::vector<std::string>& actions,
                   const Values& hints, std::int32_t timeout) {
                const std::lock_guard lock(mutex_);
                if (!refusals_.empty()) {
                    result.returnError(sdbus::Error(refusals_.front(), "refused"));
                    return refusals_.pop_front();
                }
                shown_.push_back({replaced != 0 ? replaced : ++last_, replaced, summary, body, actions, hints, timeout});
                held_.emplace_back(std::move(result), shown_.back().number);
                if (!isHeld_) answerHeld();
            });
        object_->registerMethod("CloseNotification").onInterface(name_).implementedAs([this](Number number) {
            locked([&] { closed_.push_back(number); });
        });
        object_->registerSignal("NotificationClosed").onInterface(name_).withParameters<Number, Number>();
        badge_ = connection_->addMatch("type='signal',member='Update',interface='com.canonical.Unity.LauncherEntry'", [this](sdbus::Message& message) {
            std::string uri;
            Values properties;
            message >> uri >> properties;
            locked([&] { badges_.push_back(uri + ' ' + std::to_string(properties.at("count").get<std::int64_t>()) + ' ' +
                                           std::to_string(properties.at("count-visible").get<bool>())); });
        });
        for (const char* signal : {"ActionInvoked", "ActivationToken", "NotificationReplied"})
            object_->registerSignal(signal).onInterface(name_).withParameters<Number, std::string>();
        serve();
    }

    std::vector<Shown> shown() const { return locked([&] { return shown_; }); }
    std::vector<Number> closed() const { return locked([&] { return closed_; }); }
    /// What a dock was told: "application://… 3 1".
    std::vector<std::string> badges() const { return locked([&] { return badges_; }); }
    /// The one of this place, once it has come.
    Shown next(std::size_t place = 0) const {
        EXPECT_TRUE(eventually([&] { return shown().size() > place; }));
        return shown().at(place);
    }
    void hold() {
        locked([&] { isHeld_ = true; });
    }
    void release() {
        locked([&] { isHeld_ = false, answerHeld(); });
    }
    /// The answers that wait are this error; those from now on do not wait.
    void refuseHeld(const std::string& error) {
        locked([&] {
            for (auto& [result, number] : std::exchange(held_, {})) result.returnError(sdbus::Error(error, "refused"));
            isHeld_ = false;
        });
    }
    template <class Value>
    void tell(const char* signal, Number number, Value value) {
        object_->emitSignal(signal).onInterface(name_).withArguments(number, value);
    }

private:
    void answerHeld() {
        for (auto& [result, number] : std::exchange(held_, {})) result.returnResults(number);
    }

    bool isHeld_;
    std::deque<std::string> refusals_;
    Number last_ = 0;
    std::vector<Shown> shown_;
    std::vector<Number> closed_;
    std::vector<std::string> badges_;
    sdbus::Slot badge_;
    std::deque<std::pair<sdbus::Result<Number>, Number>> held_;
};

/// A chat client that remembers what it was asked.
class ChatClient final : public Peer {
public:
    ChatClient() : Peer("com.norvane.tessel", "/com/norvane/tessel") {
        object_->registerMethod("ActivateAction").onInterface("org.freedesktop.Application").implementedAs(
            [this](const std::string& action, const std::vector<sdbus::Variant>& parameter, const Values& platformData) {
                auto line = action + ": " + described(parameter.at(0).get<Values>()) + "| " + described(platformData);
                locked([&] { calls_.push_back(std::move(line)); });
            });
        serve();
    }
    /// "REPLY: post_id=p text=Hello | activation-token=t desktop-startup-id=t "
    std::vector<std::string> calls() const { return locked([&] { return calls_; }); }
    std::string next(std::size_t place = 0) const {
        EXPECT_TRUE(eventually([&] { return calls().size() > place; }));
        return calls().at(place);
    }

private:
    std::vector<std::string> calls_;
};

/// A push distributor that speaks one version, or both.
class PushDistributor final : public Peer {
public:
    static constexpr const char* service = "com.norvane.tessel.NotificationService";

    /// `refusals` are why it does not take the first registrations.
    explicit PushDistributor(int version = 2, std::deque<std::string> refusals = {})
        : Peer("org.unifiedpush.Distributor.test", "/org/unifiedpush/Distributor"), version_(version), refusals_(std::move(refusals)) {
        const auto registered = [this](const std::string& name, const std::string& token) {
            EXPECT_EQ(name, service);
            locked([&] { tokens_.push_back(token); });
        };
        if (version == 2)
            object_->registerMethod("Register").onInterface("org.unifiedpush.Distributor2").implementedAs([=, this](const Values& values) {
                if (!refusals_.empty()) {
                    const auto reason = refusals_.front();
                    refusals_.pop_front();
                    return Values{{"success", std::string("REGISTRATION_FAILED")}, {"reason", reason}};
                }
                registered(values.at("service").get<std::string>(), values.at("token").get<std::string>());
                return Values{{"success", std::string("REGISTRATION_SUCCEEDED")}, {"reason", std::string()}};
            });
        else
            object_->registerMethod("Register").onInterface("org.unifiedpush.Distributor1").implementedAs(
                [=](const std::string& name, const std::string& token, const std::string&) {
                    registered(name, token);
                    return std::tuple(std::string("REGISTRATION_SUCCEEDED"), std::string());
                });
        serve();
        bus_ = sdbus::createProxy(sdbus::createSessionBusConnection(), "org.freedesktop.DBus", "/org/freedesktop/DBus");
        connector_ = sdbus::createProxy(sdbus::createSessionBusConnection(), service, "/org/unifiedpush/Connector");
    }

    bool isServiceGone() const {
        bool isThere = true;
        bus_->callMethod("NameHasOwner").onInterface("org.freedesktop.DBus").withArguments(std::string(service)).storeResultsTo(isThere);
        return !isThere;
    }
    std::vector<std::string> tokens() const { return locked([&] { return tokens_; }); }
    std::string token(std::size_t place = 0) const {
        EXPECT_TRUE(eventually([&] { return tokens().size() > place; }));
        return tokens().at(place);
    }
    /// Hands a message on; by version 2 it has been acknowledged when this returns, else this throws.
    void message(const std::string& token, const std::string& push) {
        const std::vector<std::uint8_t> bytes(push.begin(), push.end());
        if (version_ == 1) return call("Message", token, bytes, std::string("id"));
        EXPECT_EQ(described(call({{"token", token}, {"message", bytes}, {"id", std::string("m")}}, "Message")), "id=m ");
    }
    void endpoint(const std::string& token, const std::string& url) {
        if (version_ == 1) return call("NewEndpoint", token, url);
        EXPECT_EQ(call({{"token", token}, {"endpoint", url}}, "NewEndpoint").size(), 0);
    }
    void unregistered(const std::string& token) {
        if (version_ == 1) return call("Unregistered", token);
        EXPECT_EQ(call({{"token", token}}, "Unregistered").size(), 0);
    }

    Values call(const Values& values, const char* method) {
        Values answer;
        connector_->callMethod(method).onInterface("org.unifiedpush.Connector2").withArguments(values).storeResultsTo(answer);
        return answer;
    }

private:
    template <class... Arguments>
    void call(const char* method, const Arguments&... arguments) {
        connector_->callMethod(method).onInterface("org.unifiedpush.Connector1").withArguments(arguments...).dontExpectReply();
    }

    int version_;
    std::deque<std::string> refusals_;
    std::vector<std::string> tokens_;
    std::unique_ptr<sdbus::IProxy> connector_, bus_;
};
