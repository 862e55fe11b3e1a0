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

}  // namespace

Distributor::Distributor(Bus& bus, std::string service)
    : bus_(bus), service_(std::move(service)), dbus_(bus.proxy(busName, "/org/freedesktop/DBus")) {}

void Distributor::registerWith(const std::optional<std::string>& preferred, const std::string& token,
                               Registered registered) {
    const auto found = [=, this](const std::set<std::string>& names) {
        if (names.empty()) return log().log("There is no push distributor: nothing can be received");
        const bool isThere = preferred && names.contains(*preferred);
        const Request request{isThere ? *preferred : *names.begin(), token, registered};
        distributor_ = bus_.proxy(request.distributor, "/org/unifiedpush/Distributor");
        registerByVersion2(request);
    };
    const auto ask = [this](const char* method, std::function<void(const sdbus::Error*, const Names&)> answer) {
        dbus_->callMethodAsync(method).onInterface(busName).uponReplyInvoke(std::move(answer));
    };
    ask("ListNames", [=](const sdbus::Error* error, const Names& running) {
        if (error != nullptr) return tellFailure(error->getName());
        ask("ListActivatableNames", [=](const sdbus::Error* failure, const Names& startable) {
            if (failure != nullptr) return tellFailure(failure->getName());
            std::set<std::string> names;
            for (const auto* list : {&running, &startable})
                std::copy_if(list->begin(), list->end(), std::inserter(names, names.end()),
                             [](const std::string& name) { return name.starts_with(prefix); });
            found(names);
        });
    });
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
                return knowsNoSuchCall(*error) ? registerByVersion1(request) : tellFailure(error->getName());
            if (textOf(answer, "success") != succeeded) return tellFailure(textOf(answer, "reason"));
            bus_.guarded([&] { request.registered(request.distributor); });
        });
}

void Distributor::registerByVersion1(const Request& request) {
    distributor_->callMethodAsync("Register")
        .onInterface("org.unifiedpush.Distributor1")
        .withArguments(service_, request.token, std::string(description))
        .uponReplyInvoke([=, this](const sdbus::Error* error, const std::string& result, const std::string& reason) {
            if (error != nullptr) return tellFailure(error->getName());
            if (result != succeeded) return tellFailure(reason);
            bus_.guarded([&] { request.registered(request.distributor); });
        });
}

}  // namespace Desktop
