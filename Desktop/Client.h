#pragma once

#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "Desktop/Bus.h"
#include "Foundation/PropertyList.h"

namespace Desktop {

/// The chat client, as the bus knows it: `org.freedesktop.Application` (freedesktop.org's desktop entries 1.5, "D-Bus
/// Activation") under the name "com.norvane.tessel". The bus starts it where it does not run.
class Client {
public:
    explicit Client(Bus& bus) : bus_(bus), client_(bus.proxy("com.norvane.tessel", "/com/norvane/tessel")) {}

    /// Has it take an action, whose one parameter is a dictionary (a{sv}) of texts and booleans. The token lets it
    /// come to the front; empty for none. `answer` is told the name of an error, empty where there was none.
    void activate(std::string_view action, const Foundation::Dictionary& parameter, const std::string& token,
                  std::function<void(const std::string& error)> answer);

private:
    Bus& bus_;
    std::unique_ptr<sdbus::IProxy> client_;
};

}  // namespace Desktop
