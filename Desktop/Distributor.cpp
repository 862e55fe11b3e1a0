#include "Desktop/Distributor.h"

#include <algorithm>
#include <iterator>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "Desktop/Log.h"

namespace Desktop {

namespace {

using Values = std::map<std::string, sdbus::Variant>;
using Names = std::vector<std::string>;
using std::chrono::milliseconds;

constexpr const char* busName = "org.freedesktop.DBus";
constexpr std::string_view prefix = "org.unifiedpush.Distributor.";
constexpr milliseconds firstDelay{1'000};
constexpr milliseconds longestDelay{600'000};
constexpr const char* description = "Tessel";
constexpr const char* success = "REGISTRATION_SUCCEEDED";

std::string textOf(const Values& values, const std::string& key) {
    const auto found = values.find(key);
    return found != values.end() && found->second.containsValueOfType<std::string>() ? found->second.get<std::string>()
                                                                                     : std::string();
}

bool knowsNoSuchCall(const sdbus::Error& error) {
    constexpr std::string_view of = "org.freedesktop.DBus.Error.Unknown";
    return error.getName().starts_with(of);
}

/// Whether the same may be taken later, without anything that the user does.
bool isPassing(const std::string& reason) {
    return reason == "NETWORK" || reason == "INTERNAL_ERROR" || reason == "org.freedesktop.DBus.Error.NoReply";
}

/// In the order of their names.
Names distributorsAmong(const Names& running, const Names& startable) {
    std::set<std::string> names;
    for (const auto* list : {&running, &startable})
        std::copy_if(list->begin(), list->end(), std::inserter(names, names.end()),
                     [](const std::string& name) { return name.starts_with(prefix); });
    return {names.begin(), names.end()};
}

}  // namespace

Distributor::Distributor(EventLoop& loop, Bus& bus, std::string service)
    : loop_(loop),
      bus_(bus),
      service_(std::move(service)),
      dbus_(bus.proxy(busName, "/org/freedesktop/DBus")),
      delay_(firstDelay) {}

void Distributor::registerWith(const std::optional<std::string>& preferred, const std::string& token,
                               Registered registered) {
    preferred_ = preferred.value_or("");
    token_ = token;
    registered_ = std::move(registered);
    arrivals_ = bus_.onOwnerChange("arg0namespace='org.unifiedpush.Distributor'",
                                   [this](const std::string& name, const std::string& owner) {
                                       if (!owner.empty()) arrived(name);
                                   });
    ask();
}

/// One that the question itself has started is no news.
void Distributor::arrived(const std::string& distributor) {
    if (state_ == State::idle || state_ == State::waiting) return ask();
    const bool isToBeAsked = std::find(toAsk_.begin(), toAsk_.end(), distributor) != toAsk_.end();
    if (state_ == State::asking && !isToBeAsked) toAsk_.push_back(distributor);
}

void Distributor::ask() {
    state_ = State::asking;
    next_ = {};
    toAsk_.clear();
    mayTakeItLater_ = false;
    const auto call = [this](const char* method, std::function<void(const Names&)> take) {
        dbus_->callMethodAsync(method).onInterface(busName).uponReplyInvoke(
            [=, this](const sdbus::Error* error, const Names& names) {
                bus_.guarded([&] { error != nullptr ? listingFailed(error->getName()) : take(names); });
            });
    };
    // In this order: whoever comes meanwhile is among those that run.
    call("ListActivatableNames", [=, this](const Names& startable) {
        call("ListNames", [=, this](const Names& running) { askAmong(running, startable); });
    });
}

void Distributor::askAmong(const Names& running, const Names& startable) {
    const auto names = distributorsAmong(running, startable);
    toAsk_.assign(names.begin(), names.end());
    const auto preferred = std::find(toAsk_.begin(), toAsk_.end(), preferred_);
    if (preferred != toAsk_.end()) std::rotate(toAsk_.begin(), preferred, preferred + 1);
    if (toAsk_.empty()) log().log("There is no push distributor: nothing can be received");
    askFirst();
}

void Distributor::askFirst() {
    if (!toAsk_.empty()) {
        distributor_ = bus_.proxy(toAsk_.front(), "/org/unifiedpush/Distributor");
        return registerByVersion2();
    }
    state_ = mayTakeItLater_ ? State::waiting : State::idle;
    if (mayTakeItLater_)
        next_ = loop_.after(std::exchange(delay_, std::min(delay_ * 2, longestDelay)), [this] { ask(); });
}

void Distributor::succeeded() {
    state_ = State::registered;
    registered_(toAsk_.front());
}

void Distributor::listingFailed(const std::string& error) {
    log().error("The bus did not list its names: ", os::Public{error});
    askNext(error);
}

void Distributor::refused(const std::string& reason) {
    log().error("The push distributor ", os::Public{toAsk_.front()}, " did not take the registration: ",
                os::Public{reason.empty() ? "no reason given" : std::string_view(reason)});
    toAsk_.pop_front();
    askNext(reason);
}

void Distributor::askNext(const std::string& reason) {
    mayTakeItLater_ = mayTakeItLater_ || isPassing(reason);
    // Not from within the answer of the proxy that goes.
    next_ = loop_.after({}, [this] { askFirst(); });
}

void Distributor::registerByVersion2() {
    const Values values = {{"service", sdbus::Variant(service_)},
                           {"token", sdbus::Variant(token_)},
                           {"description", sdbus::Variant(std::string(description))}};
    distributor_->callMethodAsync("Register")
        .onInterface("org.unifiedpush.Distributor2")
        .withArguments(values)
        .uponReplyInvoke([this](const sdbus::Error* error, const Values& answer) {
            bus_.guarded([&] {
                if (error != nullptr) return knowsNoSuchCall(*error) ? registerByVersion1() : refused(error->getName());
                textOf(answer, "success") == success ? succeeded() : refused(textOf(answer, "reason"));
            });
        });
}

void Distributor::registerByVersion1() {
    distributor_->callMethodAsync("Register")
        .onInterface("org.unifiedpush.Distributor1")
        .withArguments(service_, token_, std::string(description))
        .uponReplyInvoke([this](const sdbus::Error* error, const std::string& result, const std::string& reason) {
            bus_.guarded([&] {
                if (error != nullptr) return refused(error->getName());
                result == success ? succeeded() : refused(reason);
            });
        });
}

}  // namespace Desktop
