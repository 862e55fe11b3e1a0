#pragma once

#include <chrono>
#include <deque>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <variant>

#include "Desktop/Client.h"
#include "Desktop/Delivery.h"
#include "Desktop/ErrorMessage.h"
#include "Desktop/LauncherBadge.h"
#include "Desktop/NotificationDaemon.h"
#include "Desktop/ShownNotifications.h"
#include "Desktop/Spool.h"
#include "Desktop/Texts.h"

namespace Desktop {

/// Does with pushes what they are for: shows them, closes what they clear, puts their badge on the client's icon, and
/// takes the user's answer to the client. What cannot be shown now is shown as soon as it can be.
class NotificationCenter : private NotificationDaemon::Listener {
public:
    /// Of several processes one takes the answers.
    enum class Answers { taken, leftToOthers };

    /// `shown` is the file of the notifications that are shown. `changed` is called whenever less is to be done.
    NotificationCenter(EventLoop& loop, Bus& bus, Spool& spool, std::filesystem::path shown, Answers answers,
                       Texts texts, std::function<void()> changed);

    /// Does what the push is for, removes it from the spool, and calls `done`.
    void present(Delivery delivery, Spool::Entry entry, std::function<void()> done);

    /// Shows an error that an earlier process has left in the spool.
    void presentError(Spool::Entry entry);

    /// How many are still to be presented.
    std::size_t waiting() const { return waiting_.size() + underWay_.size(); }

    /// Shows no more of what waits. Whether the server and the client have answered to all that they were told; else
    /// `changed` is called when they have.
    bool finishUp();

    /// Whether the user may still answer one of those that this object has shown, or an answer is on its way.
    bool mayBeAnswered() const { return !open_.empty() || answersUnderWay_ > 0; }

private:
    struct Item {
        std::variant<Delivery, ErrorMessage> content;
        std::optional<Spool::Entry> entry;  ///< absent for an error that cannot be kept
        std::function<void()> done;
        int refusals = 0;  ///< that were for this one

        Delivery* delivery() { return std::get_if<Delivery>(&content); }
    };
    using Shared = std::shared_ptr<Item>;

    void daemonChanged(bool isThere) override;
    void closed(std::uint32_t number) override;
    void chosen(std::uint32_t number, const std::string& key, const std::string& token) override;
    void replied(std::uint32_t number, const std::string& text) override;

    void prepare();
    void presentWaiting();
    void present(const Shared& item);
    void show(const Shared& item, const Notification& notification);
    void shown(const Shared& item, std::uint32_t number);
    void refused(const Shared& item, const std::string& error);
    void finish(const Shared& item);
    void closeClearedBy(const Shared& item);
    Shared kept(ErrorMessage error);
    void tell(const Shared& error);
    void mark(Item& item) const;
    void unmark(Item& item) const;

    std::optional<ShownNotification> shownWith(std::uint32_t number) const;
    void activate(std::string_view action, const Foundation::Dictionary& parameter, const std::string& token,
                  std::function<void(bool isTaken)> answered);

    /// One line for as long as nothing can be shown; tried again ever more rarely.
    void tellAndRetry(const std::string& error);
    void watch();

    EventLoop& loop_;
    NotificationDaemon daemon_;
    Client client_;
    LauncherBadge badge_;
    Spool& spool_;
    std::filesystem::path file_;
    Answers answers_;
    Texts texts_;
    std::function<void()> changed_;

    std::deque<Shared> waiting_;
    std::set<Shared> underWay_;  ///< the server has been told, and has not answered
    std::optional<ShownNotifications> shown_;
    std::set<std::uint32_t> open_;              ///< of those that were shown by this object
    std::deque<ShownNotification> justClosed_;  ///< some servers tell of an answer behind the end
    std::size_t answersUnderWay_ = 0;           ///< that the client has not taken yet
    bool isPreparing_ = false, hasTold_ = false;
    bool isHeldBack_ = false;  ///< until it is tried again
    bool isFinishing_ = false;
    bool isWatching_ = false, hasAnswered_ = false;  ///< whether a server that does not answer is looked for
    std::chrono::milliseconds delay_;
    EventLoop::Source retry_, watchdog_;
};

}  // namespace Desktop
