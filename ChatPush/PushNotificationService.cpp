#include "ChatPush/PushNotificationService.h"

#include <exception>
#include <memory>
#include <thread>
#include <utility>

#include "Bundle/Bundle.h"
#include "ChatPush/Log.h"
#include "ChatPush/PushContentBuilder.h"

namespace ChatPush {

using UserNotifications::ContentHandler;
using UserNotifications::UNMutableNotificationContent;
using UserNotifications::UNNotificationRequest;

PushNotificationService::PushNotificationService()
    : PushNotificationService([] { return PushProcessor(Foundation::Bundle::main()); }) {}

PushNotificationService::PushNotificationService(ProcessorFactory makeProcessor)
    : makeProcessor_(std::move(makeProcessor)) {}

void PushNotificationService::didReceive(const UNNotificationRequest& request, ContentHandler contentHandler) {
    UNMutableNotificationContent fallback = request.content.mutableCopy();
    PushContentBuilder::unverified(fallback, PushProcessor::unverifiedText());
    State fresh{std::move(contentHandler), Content(std::move(fallback))};
    // The values of an earlier request move out with the swap, and are destroyed behind the lock.
    state_.withLock([&](State& state) { std::swap(state, fresh); });

    try {
        auto self = std::static_pointer_cast<PushNotificationService>(shared_from_this());
        std::thread([self = std::move(self), content = request.content.mutableCopy()]() mutable {
            self->process(std::move(content));
        }).detach();
    } catch (const std::exception& error) {
        deliverBest(error);
    }
}

void PushNotificationService::process(UNMutableNotificationContent content) noexcept {
    try {
        const PushProcessor processor = makeProcessor_();
        auto prepared = processor.prepare(
            std::move(content), [this](const UNMutableNotificationContent& reached) { keep(reached.copy()); });
        deliver(processor.communicationContent(std::move(prepared)));
    } catch (const std::exception& error) {
        // Nothing of the pipeline's own comes this far: memory has run out, or a library is missing.
        deliverBest(error);
    }
}

void PushNotificationService::deliverBest(const std::exception& fault) noexcept {
    try {
        serviceExtensionTimeWillExpire();
        log().error("The push pipeline stopped: ", os::Private{fault.what()});
    } catch (const std::exception&) {
        // Without memory for the log line there is none for telling so either; the content came first.
    }
}

void PushNotificationService::keep(std::optional<Content> content) {
    state_.withLock([&](State& state) { std::swap(state.best, content); });
}

void PushNotificationService::deliver(const Content& content) {
    ContentHandler handler;
    state_.withLock([&](State& state) { std::swap(state.handler, handler); });
    if (handler) handler(content);
}

void PushNotificationService::serviceExtensionTimeWillExpire() {
    ContentHandler handler;
    // In one step: between two a second request could come, and be answered with the first one's content.
    const auto best = state_.withLock([&](State& state) {
        if (state.best) std::swap(state.handler, handler);
        return state.best;
    });
    if (handler) handler(*best);
}

}  // namespace ChatPush
