#include "ExtensionHost/Host.h"

#include <algorithm>
#include <condition_variable>
#include <map>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <utility>

#include "ExtensionHost/ContentJSON.h"
#include "Intents/Intents.h"
#include "os/Logger.h"

namespace ExtensionHost {

using Clock = std::chrono::steady_clock;
using Intents::INInteraction;
using Intents::INSendMessageIntent;
using UserNotifications::UNNotificationContent;
using UserNotifications::UNNotificationRequest;

namespace {

const os::Logger& logger() {
    static constexpr os::Logger shared("com.norvane.tessel", "ExtensionHost");
    return shared;
}

/// The request to which this thread is announcing the end of time: what comes back meanwhile answers that.
thread_local const void* announcingTo = nullptr;

}  // namespace

/// What the threads share. A late task keeps it alive.
class Host::Core : public std::enable_shared_from_this<Core> {
public:
    Core(Options options, ServiceFactory makeService, std::function<void(const DeliveredPush&)> deliver)
        : options_(options), makeService_(std::move(makeService)), deliver_(std::move(deliver)) {}

    bool receive(Push push);
    void expire();
    bool finish(std::chrono::milliseconds bound);
    void stop();
    void donate(const INInteraction& interaction);

private:
    struct Request;
    using RequestPointer = std::shared_ptr<Request>;
    using Timetable = std::map<std::pair<Clock::time_point, std::size_t>, RequestPointer>;  // by time and index

    struct Request {
        std::size_t index = 0;
        UNNotificationContent content;
        Clock::time_point received = Clock::now();  ///< by the extension
        Clock::time_point nextStep;                 ///< when it is its turn in the timetable
        Timetable::node_type entry;                 ///< while it is not there: to come back takes no memory
        bool wasAnnounced = false;
        bool wasDelivered = false;
        std::shared_ptr<Service> service;
    };
    void watchTime();
    std::shared_ptr<Service> makeService();
    void start(const RequestPointer& request);
    void schedule(const RequestPointer& request, Clock::time_point when);
    void takeStep(const RequestPointer& request);
    bool deliver(const RequestPointer& request, Delivery delivery, UNNotificationContent content);
    std::size_t lateTasks() const { return alive_ > pending_ ? alive_ - pending_ : 0; }
    bool takeDonation(const std::shared_ptr<const INSendMessageIntent>& intent);

    const Options options_;
    const ServiceFactory makeService_;
    const std::function<void(const DeliveredPush&)> deliver_;

    std::mutex mutex_;  ///< guards what follows
    std::condition_variable roomChanged_;
    std::condition_variable timetableChanged_;
    Timetable timetable_;
    std::set<std::weak_ptr<const INSendMessageIntent>, std::owner_less<>> donated_;
    std::size_t pending_ = 0;  ///< requests not yet delivered
    std::size_t alive_ = 0;    ///< service objects, which live as long as their tasks
    bool isTimeOver_ = false;  ///< for all requests, and none is taken any more
    bool stopped_ = false;

    std::mutex deliveryMutex_;  ///< one delivery at a time
    std::thread clock_;
};

bool Host::Core::receive(Push push) {
    auto request = std::make_shared<Request>();
    request->index = push.index;
    request->content = UNNotificationContent(contentOfPush(std::move(push.payload)));
    Timetable entries;
    entries.try_emplace({}, nullptr);
    request->entry = entries.extract(entries.begin());
    {
        std::unique_lock lock(mutex_);
        if (lateTasks() >= maximumLateTasks) {
            lock.unlock();
            logger().log("A request waits for tasks of earlier ones to end");
            lock.lock();
        }
        roomChanged_.wait(lock,
                          [&] { return isTimeOver_ || (pending_ < options_.jobs && lateTasks() < maximumLateTasks); });
        if (isTimeOver_) return false;
        ++pending_;
    }
    start(request);
    return true;
}

void Host::Core::expire() {
    const std::lock_guard lock(mutex_);
    isTimeOver_ = true;
    const auto now = Clock::now();
    Timetable earlier;
    while (!timetable_.empty()) {
        auto entry = timetable_.extract(timetable_.begin());
        if (!entry.mapped()->wasAnnounced) entry.key().first = entry.mapped()->nextStep = now;
        earlier.insert(std::move(entry));
    }
    timetable_.swap(earlier);
    timetableChanged_.notify_one();
    roomChanged_.notify_all();
}

/// A service object whose end is noticed, on whichever thread it comes.
std::shared_ptr<Host::Service> Host::Core::makeService() {
    auto service = makeService_();
    {
        const std::lock_guard lock(mutex_);
        ++alive_;
    }
    return {service.release(), [core = shared_from_this()](Service* ended) {
                delete ended;
                const std::lock_guard lock(core->mutex_);
                --core->alive_;
                core->roomChanged_.notify_all();
            }};
}

void Host::Core::start(const RequestPointer& request) {
    try {
        if (!clock_.joinable()) clock_ = std::thread([this] { watchTime(); });
        const auto service = request->service = makeService();
        request->received = Clock::now();
        service->didReceive({.identifier = std::to_string(request->index), .content = request->content},
                            [core = shared_from_this(), request](UNNotificationContent content) {
                                const bool announced = announcingTo == request.get();
                                const auto delivery = announced ? Delivery::expired : Delivery::completed;
                                if (!core->deliver(request, delivery, std::move(content)))
                                    logger().error("The extension answered a request that had been delivered");
                            });
    } catch (const std::exception& error) {
        deliver(request, Delivery::none, request->content);
        logger().error("The extension did not take a request: ", os::Private{error.what()});
    }
    // Only now: an end of time that came before the request itself would find nothing to hand over.
    const auto limit = std::min(options_.timeLimit, std::chrono::duration<double>(1e8));
    schedule(request, request->received + std::chrono::duration_cast<Clock::duration>(limit));
}

void Host::Core::schedule(const RequestPointer& request, Clock::time_point when) {
    const std::lock_guard lock(mutex_);
    if (request->wasDelivered) return;
    if (isTimeOver_ && !request->wasAnnounced) when = Clock::now();
    request->nextStep = when;
    request->entry.key() = {when, request->index};
    request->entry.mapped() = request;
    timetable_.insert(std::move(request->entry));
    timetableChanged_.notify_one();
}

void Host::Core::watchTime() {
    std::unique_lock lock(mutex_);
    while (!stopped_) {
        if (timetable_.empty()) {
            timetableChanged_.wait(lock);
            continue;
        }
        const auto when = timetable_.begin()->first.first;
        if (Clock::now() < when) {
            timetableChanged_.wait_until(lock, when);
            continue;
        }
        auto entry = timetable_.extract(timetable_.begin());
        RequestPointer request = std::move(entry.mapped());
        request->entry = std::move(entry);
        lock.unlock();
        takeStep(std::exchange(request, nullptr));  // it may be the last to hold it
        lock.lock();
    }
}

void Host::Core::takeStep(const RequestPointer& request) {
    if (request->wasAnnounced) {
        deliver(request, Delivery::none, request->content);
        return;
    }
    std::shared_ptr<Service> service;
    {
        const std::lock_guard lock(mutex_);
        service = request->service;
        request->wasAnnounced = true;
    }
    if (!service) return;  // delivered just now
    announcingTo = request.get();
    try {
        service->serviceExtensionTimeWillExpire();
    } catch (const std::exception& error) {
        logger().error("The extension failed when time ran out: ", os::Private{error.what()});
    }
    announcingTo = nullptr;
    schedule(request, Clock::now() + options_.grace);
}

/// False, and of no effect, where the request has been delivered before.
bool Host::Core::deliver(const RequestPointer& request, Delivery delivery, UNNotificationContent content) {
    const auto time = Clock::now() - request->received;
    std::shared_ptr<Service> service;  // let go of behind the lock
    bool isFirst = false;
    {
        const std::lock_guard lock(mutex_);
        isFirst = !std::exchange(request->wasDelivered, true);
        if (isFirst) timetable_.erase({request->nextStep, request->index});
        service.swap(request->service);
    }
    if (!isFirst) return false;

    try {
        const std::lock_guard lock(deliveryMutex_);
        const bool wasDonated = takeDonation(content.intent());
        deliver_({request->index, delivery, std::move(content), wasDonated, time});
    } catch (const std::exception& error) {
        logger().error("A notification could not be delivered: ", os::Private{error.what()});
    }
    const std::lock_guard lock(mutex_);
    --pending_;
    roomChanged_.notify_all();
    return true;
}

bool Host::Core::finish(std::chrono::milliseconds bound) {
    std::unique_lock lock(mutex_);
    return roomChanged_.wait_for(lock, bound, [&] { return pending_ == 0; });
}

void Host::Core::stop() {
    {
        const std::lock_guard lock(mutex_);
        stopped_ = true;
        timetableChanged_.notify_one();
    }
    if (clock_.joinable()) clock_.join();
}

void Host::Core::donate(const INInteraction& interaction) {
    const std::lock_guard lock(mutex_);
    // Late tasks donate what is never delivered: their intents end with them.
    std::erase_if(donated_, [](const auto& intent) { return intent.expired(); });
    donated_.insert(interaction.intent);
}

bool Host::Core::takeDonation(const std::shared_ptr<const INSendMessageIntent>& intent) {
    if (!intent) return false;
    const std::lock_guard lock(mutex_);
    return donated_.erase(intent) > 0;
}

Host::Host(Options options, ServiceFactory makeService, std::function<void(const DeliveredPush&)> deliver)
    : core_(std::make_shared<Core>(options, std::move(makeService), std::move(deliver))) {
    if (options.acceptsDonations)
        Intents::setDonationSink([core = core_](const INInteraction& interaction) { core->donate(interaction); });
}

Host::~Host() {
    Intents::setDonationSink({});
    core_->stop();
}

bool Host::receive(Push push) {
    return core_->receive(std::move(push));
}

void Host::expire() {
    core_->expire();
}

bool Host::finish(std::chrono::milliseconds bound) {
    return core_->finish(bound);
}

}  // namespace ExtensionHost
