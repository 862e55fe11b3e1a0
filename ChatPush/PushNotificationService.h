#pragma once

#include <exception>
#include <functional>
#include <optional>

#include "ChatPush/PushProcessor.h"
#include "UserNotifications/UNNotificationServiceExtension.h"
#include "os/OSAllocatedUnfairLock.h"

namespace ChatPush {

/// The extension's entry: runs the pipeline for each request, and answers it exactly once, with the finished content
/// or, when time runs out before, with the best content so far.
///
/// A second request before the first was answered takes the first one's place: its handler is never called, and the
/// first one's task answers the second. A host that wants each answered gives each an object of its own. Objects are
/// to be made shared. Safe to call from several threads. A program in which a task may still wait leaves by
/// `std::_Exit`: the task must not meet what exit handlers tear down.
class PushNotificationService : public UserNotifications::UNNotificationServiceExtension {
public:
    /// Makes a request's pipeline, in the request's thread.
    using ProcessorFactory = std::function<PushProcessor()>;

    /// A service whose pipelines stand on the main bundle.
    PushNotificationService();

    /// A service with pipelines of the caller's.
    explicit PushNotificationService(ProcessorFactory makeProcessor);

    /// Starts the pipeline in a thread of its own, which keeps this object alive, and returns.
    void didReceive(const UserNotifications::UNNotificationRequest& request,
                    UserNotifications::ContentHandler contentHandler) override;

    /// Answers with the best content so far, in the caller's thread. Of no effect where nothing waits for an answer.
    void serviceExtensionTimeWillExpire() override;

private:
    using Content = UserNotifications::UNNotificationContent;

    struct State {
        UserNotifications::ContentHandler handler;  ///< empty once called, and while nothing is pending
        std::optional<Content> best;                ///< what to show if time runs out now
    };

    void process(UserNotifications::UNMutableNotificationContent content) noexcept;
    /// Hands over the best content where no thread could be started, or where the pipeline was thrown out of.
    void deliverBest(const std::exception& fault) noexcept;
    void keep(std::optional<Content> content);
    void deliver(const Content& content);

    ProcessorFactory makeProcessor_;
    os::OSAllocatedUnfairLock<State> state_;
};

}  // namespace ChatPush
