#include "Desktop/PushQueue.h"

#include <utility>

#include "Desktop/Log.h"
#include "Foundation/Files.h"

namespace Desktop {

namespace {

constexpr std::size_t mostProcesses = 4;

std::string read(const Spool::Entry& entry) {
    return std::string(Foundation::textView(Foundation::Files::read(entry)));
}

void tellUnreadable(const std::exception& error) {
    log().error("A push cannot be read: ", os::Public{error.what()});
}

/// The extension's word where it has given one that can be understood, and otherwise the push's own; nothing where that
/// cannot be had any more.
std::optional<Delivery> deliveryOf(const Spool::Entry& entry, const std::optional<std::string>& line) {
    if (line) {
        try {
            return Delivery::read(*line);
        } catch (const Foundation::DecodingError& error) {
            log().error("The extension's answer is not understood, and the push is shown as it came: ",
                        os::Public{error.what()});
        }
    }
    try {
        return Delivery::unlooked(read(entry));
    } catch (const Foundation::CocoaError& error) {
        tellUnreadable(error);
    } catch (const Foundation::DecodingError& error) {
        tellUnreadable(error);
    }
    return std::nullopt;
}

}  // namespace

PushQueue::PushQueue(EventLoop& loop, NotificationCenter& center, std::filesystem::path extension,
                     std::function<void()> changed)
    : loop_(loop), center_(center), extension_(std::move(extension)), changed_(std::move(changed)) {}

void PushQueue::add(const Spool::Entry& entry) {
    std::string channel;
    try {
        const auto push = Foundation::parseDictionary(read(entry));
        channel = Foundation::textOrEmpty(push, "server_id") + '\n' + Foundation::textOrEmpty(push, "channel_id");
    } catch (const Foundation::DecodingError& error) {
        log().error("What came is no push: ", os::Public{error.what()});
        return Spool::remove(entry);
    } catch (const Foundation::CocoaError& error) {
        return tellUnreadable(error);
    }
    auto& entries = channels_[channel].entries;
    entries.push_back(entry);
    if (entries.size() == 1) order_.push_back(channel);
    startNext();
}

void PushQueue::startNext() {
    while (!order_.empty() && processes_ < mostProcesses) {
        start(channels_.find(order_.front()));
        order_.pop_front();
    }
}

void PushQueue::start(Channels::iterator channel) {
    ++processes_;
    const Spool::Entry entry = channel->second.entries.front();
    channel->second.process = std::make_unique<ExtensionProcess>(
        loop_, extension_, entry, [this, entry, channel](const std::optional<std::string>& line) {
            ended_ = std::move(channel->second.process);
            --processes_;
            const std::string name = channel->first;
            auto delivery = deliveryOf(entry, line);
            hasLost_ = hasLost_ || !delivery;
            if (!delivery) return finish(name);
            center_.present(*std::move(delivery), entry, [this, name] { finish(name); });
            startNext();
        });
}

void PushQueue::finish(const std::string& name) {
    const auto channel = channels_.find(name);
    channel->second.entries.pop_front();
    if (channel->second.entries.empty())
        channels_.erase(channel);
    else
        order_.push_back(name);
    startNext();
    changed_();
}

}  // namespace Desktop
