#pragma once

#include <deque>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>

#include "Desktop/EventLoop.h"
#include "Desktop/ExtensionProcess.h"
#include "Desktop/NotificationCenter.h"
#include "Desktop/Spool.h"

namespace Desktop {

/// Takes pushes from the spool through the extension to the notification centre. Those of one channel go one after the
/// other, in their order, so that what is newest is shown last and clears what was before it; of several channels, four
/// at a time.
class PushQueue {
public:
    /// `extension` is the extension's program. `changed` is called whenever less is to be done.
    PushQueue(EventLoop& loop, NotificationCenter& center, std::filesystem::path extension,
              std::function<void()> changed);

    /// Takes a push of the spool. One that is no JSON object is removed, and one that cannot be read is left, with a line
    /// in the log.
    void add(const Spool::Entry& entry);

    bool isEmpty() const { return channels_.empty(); }

    /// Whether one could not be read any more when it was to be shown.
    bool hasLost() const { return hasLost_; }

private:
    struct Channel {
        std::deque<Spool::Entry> entries;  ///< the first one may be in work
        std::unique_ptr<ExtensionProcess> process;
    };
    using Channels = std::map<std::string, Channel>;

    void startNext();
    void start(Channels::iterator channel);
    void finish(const std::string& name);

    EventLoop& loop_;
    NotificationCenter& center_;
    std::filesystem::path extension_;
    std::function<void()> changed_;
    Channels channels_;
    std::deque<std::string> order_;  ///< channels of which none is under way, as they came
    std::size_t processes_ = 0;
    bool hasLost_ = false;
    std::unique_ptr<ExtensionProcess> ended_;  ///< it may not go while it calls back
};

}  // namespace Desktop
