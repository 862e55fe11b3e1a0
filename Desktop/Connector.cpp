#include "Desktop/Connector.h"

#include <exception>
#include <map>

#include "Desktop/Log.h"

namespace Desktop {

namespace {

using Values = std::map<std::string, sdbus::Variant>;

constexpr const char* version1 = "org.unifiedpush.Connector1";
constexpr const char* version2 = "org.unifiedpush.Connector2";

template <class Value>
Value required(const Values& values, const std::string& key) {
    const auto found = values.find(key);
    constexpr const char* invalid = "org.freedesktop.DBus.Error.InvalidArgs";
    if (found == values.end()) throw sdbus::Error(invalid, key + " is missing");
    if (!found->second.containsValueOfType<Value>()) throw sdbus::Error(invalid, key + " is of another type");
    return found->second.get<Value>();
}

/// Has a failure of ours answered as one: what the bus' library does not know ends the process.
template <class Call>
void answered(Call call) {
    try {
        call();
    } catch (const sdbus::Error&) {
        throw;
    } catch (const std::exception& error) {
        log().error("A call of the push distributor failed: ", os::Public{error.what()});
        throw sdbus::Error("org.freedesktop.DBus.Error.Failed", "it could not be kept");
    }
}

}  // namespace

Connector::Connector(Bus& bus, Listener& listener)
    : listener_(listener), object_(sdbus::createObject(bus.connection(), "/org/unifiedpush/Connector")) {
    exportVersion2();
    exportVersion1();
    object_->finishRegistration();
}

void Connector::exportVersion2() {
    object_->registerMethod("Message").onInterface(version2).implementedAs([this](const Values& values) {
        Values answer;
        std::optional<std::string> identifier;
        if (const auto id = values.find("id"); id != values.end()) {
            answer.insert(*id);
            identifier = required<std::string>(values, "id");
        }
        answered([&] {
            listener_.received(required<std::string>(values, "token"),
                               required<std::vector<std::uint8_t>>(values, "message"), identifier);
        });
        return answer;
    });
    object_->registerMethod("NewEndpoint").onInterface(version2).implementedAs([this](const Values& values) {
        answered([&] {
            listener_.endpointChanged(required<std::string>(values, "token"),
                                      required<std::string>(values, "endpoint"));
        });
        return Values();
    });
    object_->registerMethod("Unregistered").onInterface(version2).implementedAs([this](const Values& values) {
        answered([&] { listener_.unregistered(required<std::string>(values, "token")); });
        return Values();
    });
}

void Connector::exportVersion1() {
    object_->registerMethod("Message")
        .onInterface(version1)
        .implementedAs(
            [this](const std::string& token, const std::vector<std::uint8_t>& message, const std::string& identifier) {
                answered([&] {
                    listener_.received(token, message, identifier.empty() ? std::nullopt : std::optional(identifier));
                });
            })
        .withNoReply();
    object_->registerMethod("NewEndpoint")
        .onInterface(version1)
        .implementedAs([this](const std::string& token, const std::string& endpoint) {
            answered([&] { listener_.endpointChanged(token, endpoint); });
        })
        .withNoReply();
    object_->registerMethod("Unregistered")
        .onInterface(version1)
        .implementedAs([this](const std::string& token) { answered([&] { listener_.unregistered(token); }); })
        .withNoReply();
}

}  // namespace Desktop
