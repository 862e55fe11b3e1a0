#include "Desktop/Distributor.h"

#include <algorithm>
#include <map>
#include <set>
#include <string_view>
#include <utility>

#include "Desktop/Log.h"

namespace Desktop {

namespace {

using Values = std::map<std::string, sdbus::Variant>;
using Names = std::vector<std::string>;

constexpr const char* busName = "org.freedesktop.DBus";
constexpr std::string_view prefix = "org.unifiedpush.Distributor.";
constexpr const char* description = "Tessel";
constexpr const char* succeeded = "REGISTRATION_SUCCEEDED";

void tellFailure(const std::string& reason) {
    log().error("The push distributor did not take the registration: ", os::Public{reason});
}

std::string textOf(const Values& values, const std::string& key) {
    const auto found = values.find(key);
    return found != values.end() && found->second.containsValueOfType<std::string>() ? found->second.get<std::string>()
                                                                                     : std::string();
}

bool knowsNoSuchCall(const sdbus::Error& error) {
    constexpr std::string_view of = "org.freedesktop.DBus.Error.Unknown";
    return error.getName().starts_with(of);
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
    : loop_(loop), bus_(bus), service_(std::move(service)), dbus_(bus.proxy(busName, "/org/freedesktop/DBus")) {}

void Distributor::registerWith(const std::optional<std::string>& preferred, const std::string& token,
                               Registered registered) {
    const auto ask = [this](const char* method, std::function<void(const sdbus::Error*, const Names&)> answer) {
        dbus_->callMethodAsync(method).onInterface(busName).uponReplyInvoke(std::move(answer));
    };
    ask("ListNames", [=, this](const sdbus::Error* error, const Names& running) {
        if (error != nullptr) return tellFailure(error->getName());
        ask("ListActivatableNames", [=, this](const sdbus::Error* failure, const Names& startable) {
            if (failure != nullptr) return tellFailure(failure->getName());
            Request request{distributorsAmong(running, startable), token, registered};
            if (request.distributors.empty()) log().log("There is no push distributor: nothing can be received");
            // The preferred one is asked first.
            std::stable_partition(request.distributors.begin(), request.distributors.end(),
                                  [&](const std::string& name) { return name == preferred; });
            registerWithFirst(std::move(request));
        });
    });
}

void Distributor::registerWithFirst(Request request) {
    if (request.distributors.empty()) return;
    distributor_ = bus_.proxy(request.distributors.front(), "/org/unifiedpush/Distributor");
    registerByVersion2(request);
}

void Distributor::failed(Request request, const std::string& reason) {
    tellFailure(reason);
    request.distributors.erase(request.distributors.begin());
    // Not from within the answer of the proxy that goes.
    next_ = loop_.after({}, [this, request = std::move(request)] { registerWithFirst(request); });
}

void Distributor::registerByVersion2(const Request& request) {
    const Values values = {{"service", sdbus::Variant(service_)},
                           {"token", sdbus::Variant(request.token)},
                           {"description", sdbus::Variant(std::string(description))}};
    distributor_->callMethodAsync("Register")
        .onInterface("org.unifiedpush.Distributor2")
        .withArguments(values)
        .uponReplyInvoke([=, this](const sdbus::Error* error, const Values& answer) {
            if (error != nullptr)
                return knowsNoSuchCall(*error) ? registerByVersion1(request) : failed(request, error->getName());
            if (textOf(answer, "success") != succeeded) return failed(request, textOf(answer, "reason"));
            bus_.guarded([&] { request.registered(request.distributors.front()); });
        });
}

void Distributor::registerByVersion1(const Request& request) {
    distributor_->callMethodAsync("Register")
        .onInterface("org.unifiedpush.Distributor1")
        .withArguments(service_, request.token, std::string(description))
        .uponReplyInvoke([=, this](const sdbus::Error* error, const std::string& result, const std::string& reason) {
            if (error != nullptr) return failed(request, error->getName());
            if (result != succeeded) return failed(request, reason);
            bus_.guarded([&] { request.registered(request.distributors.front()); });
        });
}

}  // namespace Desktop
