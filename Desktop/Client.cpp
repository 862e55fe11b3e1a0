#include "Desktop/Client.h"

#include <map>
#include <utility>
#include <vector>

#include "Desktop/BusText.h"

namespace Desktop {

namespace {

using Values = std::map<std::string, sdbus::Variant>;

Values valuesOf(const Foundation::Dictionary& dictionary) {
    Values values;
    for (const auto& [key, value] : dictionary)
        if (const auto* text = value.text())
            values.emplace(key, busText(*text));
        else if (const auto boolean = value.boolean())
            values.emplace(key, *boolean);
    return values;
}

}  // namespace

void Client::activate(std::string_view action, const Foundation::Dictionary& parameter, const std::string& token,
                      std::function<void(const std::string& error)> answer) {
    Values platformData;
    if (!token.empty())
        platformData = {{"activation-token", sdbus::Variant(token)}, {"desktop-startup-id", sdbus::Variant(token)}};
    client_->callMethodAsync("ActivateAction")
        .onInterface("org.freedesktop.Application")
        .withArguments(std::string(action), std::vector<sdbus::Variant>{sdbus::Variant(valuesOf(parameter))},
                       platformData)
        .uponReplyInvoke([this, answer = std::move(answer)](const sdbus::Error* error) {
            bus_.guarded([&] { answer(error == nullptr ? "" : error->getName()); });
        });
}

}  // namespace Desktop
