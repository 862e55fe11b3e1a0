#include "Desktop/ShownNotifications.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <string_view>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>

#include "Foundation/Files.h"
#include "Foundation/PropertyListCoding.h"

using ChatModel::PushPayload;
using Desktop::ShownNotification;
using Foundation::CocoaError;
using Foundation::Dictionary;
using Foundation::required;

namespace {

struct File {
    std::string server;
    std::vector<ShownNotification> notifications;
};

}  // namespace

template <>
constexpr auto Foundation::fields<ShownNotification> = std::tuple{
    required("number", &ShownNotification::number),
    required("threadIdentifier", &ShownNotification::threadIdentifier),
    required("push", &ShownNotification::push),
};

template <>
constexpr auto Foundation::fields<File> = std::tuple{
    required("server", &File::server),
    required("notifications", &File::notifications),
};

namespace Desktop {

namespace {

constexpr std::size_t most = 500;

/// What tells which notifications a push clears, and what the client is told of the one that the user has chosen.
constexpr std::array<std::string_view, 11> keptKeys = {"type",           "server_id", "server_url", "post_id",
                                                       "channel_id",     "root_id",   "team_id",    "sender_id",
                                                       "is_crt_enabled", "sub_type",  "verified"};

/// Held while the file is being changed. Another process has it for moments; for one that is stopped in the midst of them
/// nobody waits.
class Lock {
public:
    explicit Lock(const std::filesystem::path& file) {
        const std::string path = file.string() + ".lock";
        descriptor_ = Foundation::Descriptor(::open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        if (!descriptor_.isOpen()) throw CocoaError(CocoaError::Operation::write, errno, path);
        constexpr int attempts = 200;
        constexpr std::chrono::milliseconds pause{2};
        for (int attempt = 1; ::flock(descriptor_.number(), LOCK_EX | LOCK_NB) != 0; ++attempt) {
            if (errno != EWOULDBLOCK || attempt == attempts)
                throw CocoaError(CocoaError::Operation::write, errno, path);
            std::this_thread::sleep_for(pause);
        }
    }

private:
    Foundation::Descriptor descriptor_;
};

}  // namespace

ShownNotification ShownNotification::of(std::uint32_t number, std::string threadIdentifier, const Dictionary& push) {
    ShownNotification shown{number, std::move(threadIdentifier), {}};
    for (const std::string_view key : keptKeys)
        if (const auto* value = Foundation::find(push, key)) shown.push.emplace(key, *value);
    return shown;
}

ShownNotifications::ShownNotifications(std::filesystem::path file, std::string server)
    : file_(std::move(file)), server_(std::move(server)) {
    Foundation::Files::createDirectory(file_.parent_path());
}

std::vector<ShownNotification> ShownNotifications::read() const {
    try {
        auto file = Foundation::decodeJSON<File>(Foundation::textView(Foundation::Files::read(file_)));
        if (file.server == server_) return std::move(file.notifications);
    } catch (const CocoaError& error) {
        if (error.code() != CocoaError::Code::fileReadNoSuchFile) throw;
    } catch (const Foundation::DecodingError&) {
        // It is of no more use to anyone.
    }
    return {};
}

/// Hands the notifications to a function, and keeps what it has made of them.
template <class Change>
auto ShownNotifications::changed(Change change) {
    const Lock lock(file_);
    auto notifications = read();
    const auto before = notifications;
    auto result = change(notifications);
    if (notifications != before) {
        const auto json = Foundation::encodeJSON(File{server_, std::move(notifications)});
        Foundation::Files::AtomicWrite(file_, Foundation::bytes(json)).commit();
    }
    return result;
}

void ShownNotifications::add(ShownNotification notification) {
    changed([&](auto& notifications) {
        std::erase_if(notifications, [&](const auto& one) { return one.number == notification.number; });
        notifications.push_back(std::move(notification));
        if (notifications.size() > most) notifications.erase(notifications.begin());
        return true;
    });
}

std::optional<ShownNotification> ShownNotifications::remove(std::int64_t number) {
    return changed([&](auto& notifications) -> std::optional<ShownNotification> {
        const auto found = std::find_if(notifications.begin(), notifications.end(),
                                        [&](const auto& one) { return one.number == number; });
        if (found == notifications.end()) return std::nullopt;
        auto removed = std::move(*found);
        notifications.erase(found);
        return removed;
    });
}

std::optional<ShownNotification> ShownNotifications::find(std::int64_t number) const {
    for (auto& notification : read())
        if (notification.number == number) return notification;
    return std::nullopt;
}

std::optional<std::int64_t> ShownNotifications::lastInThread(const std::string& threadIdentifier) const {
    std::optional<std::int64_t> last;
    for (const auto& notification : read())
        if (notification.threadIdentifier == threadIdentifier) last = notification.number;
    return last;
}

std::vector<std::int64_t> ShownNotifications::clear(const PushPayload& push) {
    return changed([&](auto& notifications) {
        std::vector<std::int64_t> cleared;
        std::erase_if(notifications, [&](const auto& one) {
            const auto shown = PushPayload::make(one.push);
            // Channels and threads of two servers may be called the same.
            const bool isCleared = shown && shown->serverID == push.serverID && shown->isCleared(push);
            if (isCleared) cleared.push_back(one.number);
            return isCleared;
        });
        return cleared;
    });
}

}  // namespace Desktop
