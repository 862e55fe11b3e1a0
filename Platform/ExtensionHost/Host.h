#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <memory>

#include "ExtensionHost/PushInput.h"
#include "UserNotifications/UNNotificationServiceExtension.h"

namespace ExtensionHost {

enum class Delivery {
    completed,  ///< the extension answered by itself
    expired,    ///< it answered when it was told that time runs out
    none        ///< it did not answer; the content is the request's own
};

/// What became of one push.
struct DeliveredPush {
    std::size_t index = 0;
    Delivery delivery = Delivery::none;
    UserNotifications::UNNotificationContent content;
    bool wasDonated = false;                           ///< the interaction of the content's intent was donated
    std::chrono::duration<double, std::milli> time{};  ///< from `didReceive` to the delivery
};

/// Plays the platform for a notification service extension within one process: gives each push a request and a service
/// object of its own, watches the time, and takes the first content that it is handed. Anything after that is
/// reported as a fault of the extension, and dropped.
class Host {
public:
    using Service = UserNotifications::UNNotificationServiceExtension;

    using ServiceFactory = std::function<std::unique_ptr<Service>()>;

    struct Options {
        /// From `didReceive` until the end of time is announced to a request.
        std::chrono::duration<double> timeLimit{30};
        std::size_t jobs = 1;  ///< requests in progress at once
        bool acceptsDonations = true;
        /// From the announcement until nothing is waited for any more.
        std::chrono::milliseconds grace{1000};
    };

    /// Tasks that may go on behind their requests, so that servers which hang cannot pile up threads without bound:
    /// beyond this number the next request waits for one to end.
    static constexpr std::size_t maximumLateTasks = 256;

    /// `deliver` is called once per request, for one at a time, on any thread.
    Host(Options options, ServiceFactory makeService, std::function<void(const DeliveredPush&)> deliver);

    /// Unregisters the donations. Tasks may still be at work; what they hand over goes nowhere.
    ~Host();
    Host(const Host&) = delete;
    Host& operator=(const Host&) = delete;

    /// Makes a request of the push, as soon as there is room for one. False, and no request, once `expire` was called.
    /// Throws `std::bad_alloc`, and there is no request; one that is made is delivered, whatever fails later.
    /// To be called by one thread at a time; the indices of pushes are to differ.
    bool receive(Push push);

    /// Announces the end of time to every request in progress, whatever its limit.
    void expire();

    /// Waits until every request has been delivered. False where the time is over before.
    bool finish(std::chrono::milliseconds bound = std::chrono::hours(24 * 365));

private:
    class Core;
    std::shared_ptr<Core> core_;
};

}  // namespace ExtensionHost
