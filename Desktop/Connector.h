#pragma once

#include <memory>
#include <optional>
#include <string>

#include "Desktop/Bus.h"
#include "Foundation/Data.h"

namespace Desktop {

/// What a UnifiedPush distributor calls: the object /org/unifiedpush/Connector with the interfaces Connector2 and
/// Connector1. A call that throws is answered with an error, and the distributor may try again.
class Connector {
public:
    /// All tokens are as the caller has given them.
    struct Listener {
        virtual ~Listener() = default;
        /// The return is the acknowledgement: by then the message must be safe. The identifier is the distributor's, the
        /// same for a message that it sends once more. Distributors promise 1 to 4,096 bytes; nobody relies on it.
        virtual void received(const std::string& token, const Foundation::Data& message,
                              const std::optional<std::string>& identifier) = 0;
        virtual void endpointChanged(const std::string& token, const std::string& endpoint) = 0;
        virtual void unregistered(const std::string& token) = 0;
    };

    /// The listener must outlive this.
    Connector(Bus& bus, Listener& listener);

private:
    void exportVersion2();
    void exportVersion1();

    Listener& listener_;
    std::unique_ptr<sdbus::IObject> object_;
};

}  // namespace Desktop
