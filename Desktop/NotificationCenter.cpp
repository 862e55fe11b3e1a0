#include "Desktop/NotificationCenter.h"

#include <algorithm>
#include <utility>

#include "Desktop/Log.h"
#include "Foundation/Files.h"

namespace Desktop {

using ChatModel::PushPayload;
using Foundation::CocoaError;
using Kind = PushPayload::Kind;
using std::chrono::milliseconds;

namespace {

/// Some servers refuse the same notification twice in a second.
constexpr milliseconds firstDelay{1'100};
constexpr milliseconds longestDelay{60'000};

/// After which a server that does not answer is taken to hang.
constexpr milliseconds patience{10'000};

constexpr const char* openAction = "open";
constexpr std::size_t mostJustClosed = 32;

/// A notification that a server refuses this often is left to a later process.
constexpr int mostRefusals = 3;

/// Whether the server takes nothing for now, or has gone: it is not for the notification that it was refused.
bool isPassing(const std::string& error) {
    return error == "org.freedesktop.Notifications.Error.ExcessNotificationGeneration" ||
           error == "org.freedesktop.DBus.Error.NoReply" || error == "org.freedesktop.DBus.Error.ServiceUnknown";
}

/// What a later notification replaces this one by: a server's thread. Empty for what nobody has verified, which replaces
/// nothing and is replaced by nothing.
std::string conversationOf(const Delivery& delivery) {
    const auto& thread = delivery.content.threadIdentifier;
    return delivery.isVerified && !thread.empty() ? delivery.push->serverID + '\n' + thread : std::string();
}

/// Works with the file of what is shown. A failure there costs what the file is for, and no more.
template <class Operation>
auto recorded(Operation operation) -> decltype(operation()) {
    try {
        return operation();
    } catch (const CocoaError& error) {
        log().error("The notifications that are shown cannot be recorded: ", os::Public{error.what()});
        return decltype(operation())();
    }
}

}  // namespace

NotificationCenter::NotificationCenter(EventLoop& loop, Bus& bus, Spool& spool, std::filesystem::path shown,
                                       Answers answers, Texts texts, std::function<void()> changed)
    : loop_(loop),
      daemon_(bus, *this),
      client_(bus),
      badge_(bus),
      spool_(spool),
      file_(std::move(shown)),
      answers_(answers),
      texts_(std::move(texts)),
      changed_(std::move(changed)),
      delay_(firstDelay) {
    // What an earlier process has shown can be answered from now on.
    prepare();
}

void NotificationCenter::present(Delivery delivery, Spool::Entry entry, std::function<void()> done) {
    waiting_.push_back(std::make_shared<Item>(Item{std::move(delivery), std::move(entry), std::move(done)}));
    presentWaiting();
}

void NotificationCenter::presentError(Spool::Entry entry) {
    try {
        auto error = ErrorMessage::read(Foundation::Files::read(entry));
        waiting_.push_back(std::make_shared<Item>(Item{std::move(error), std::move(entry), [] {}}));
        presentWaiting();
    } catch (const Foundation::DecodingError& error) {
        log().error("An error that the user was to be told is not understood: ", os::Public{error.what()});
        Spool::remove(entry);
    } catch (const CocoaError& error) {
        log().error("An error that the user was to be told cannot be read: ", os::Public{error.what()});
    }
}

NotificationCenter::Shared NotificationCenter::kept(ErrorMessage error) {
    std::optional<Spool::Entry> entry;
    try {
        entry = spool_.add(error.file(), Spool::Kind::error);
    } catch (const CocoaError& failure) {
        log().error("An error that the user is to be told cannot be kept: ", os::Public{failure.what()});
    }
    return std::make_shared<Item>(Item{std::move(error), std::move(entry), [] {}});
}

void NotificationCenter::daemonChanged(bool isThere) {
    // With the server its notifications have gone, and the numbers of another one are not theirs.
    open_.clear();
    shown_.reset();
    justClosed_.clear();
    changed_();
    if (!isThere) return;
    delay_ = firstDelay;
    isHeldBack_ = false;
    presentWaiting();
}

void NotificationCenter::prepare() {
    isPreparing_ = true;
    watch();
    daemon_.prepare([this](const std::string& error) {
        isPreparing_ = false;
        hasAnswered_ = true;
        if (!error.empty()) return tellAndRetry(error);
        shown_.emplace(file_, daemon_.identity());
        presentWaiting();
    });
}

void NotificationCenter::presentWaiting() {
    if (isPreparing_ || isHeldBack_ || isFinishing_) return;
    if (!daemon_.isReady()) return prepare();
    for (auto items = std::exchange(waiting_, {}); const auto& item : items)
        present(item);
}

void NotificationCenter::present(const Shared& item) {
    if (const auto* error = std::get_if<ErrorMessage>(&item->content))
        return show(item, Notification::error(error->summary, error->text, daemon_.abilities()));
    const auto& [content, sender, push, isVerified] = *item->delivery();
    if (isVerified && content.badge) badge_.show(*content.badge);
    if (isVerified && push->kind == Kind::clear) return closeClearedBy(item);
    const auto notification = Notification::of(*item->delivery(), daemon_.abilities(), texts_);
    if (!notification) return finish(item);
    show(item, *notification);
}

void NotificationCenter::show(const Shared& item, const Notification& notification) {
    std::uint32_t replaced = 0;
    const auto thread = item->delivery() ? conversationOf(*item->delivery()) : std::string();
    if (!thread.empty() && !daemon_.abilities().keeps)
        replaced = static_cast<std::uint32_t>(recorded([&] { return shown_->lastInThread(thread); }).value_or(0));
    underWay_.insert(item);
    watch();
    daemon_.show(
        notification, replaced, [this, item] { mark(*item); },
        [this, item](std::optional<std::uint32_t> number, const std::string& error) {
            hasAnswered_ = true;
            if (underWay_.erase(item) == 0) return;
            if (number) return shown(item, *number);
            refused(item, error);
        });
}

/// A push is not to be shown twice; an error, which may hold what the user has written, rather twice than never. Between
/// the mark and the message to the server lies as little as can be: what ends the process there loses the push.
void NotificationCenter::mark(Item& item) const {
    if (item.delivery() != nullptr) item.entry = Spool::marked(*item.entry);
}

void NotificationCenter::unmark(Item& item) const {
    if (item.delivery() != nullptr) item.entry = Spool::unmarked(*item.entry);
}

void NotificationCenter::shown(const Shared& item, std::uint32_t number) {
    delay_ = firstDelay;
    hasTold_ = false;
    if (const auto* delivery = item->delivery(); delivery != nullptr && shown_) {
        recorded([&] {
            return shown_->add(ShownNotification::of(number, conversationOf(*delivery), delivery->content.userInfo));
        });
        open_.insert(number);
    }
    finish(item);
}

void NotificationCenter::refused(const Shared& item, const std::string& error) {
    unmark(*item);
    if (!isPassing(error)) {
        // What is kept nowhere else must not be left to anyone.
        if (item->entry && ++item->refusals == mostRefusals) {
            log().error("The server refuses a notification for good, which is left to a later process: ",
                        os::Public{error});
            item->done();
            return changed_();
        }
        // It may be the picture that it does not take.
        if (auto* delivery = item->delivery(); delivery != nullptr && delivery->sender) delivery->sender->image.reset();
    }
    waiting_.push_front(item);
    tellAndRetry(error);
}

void NotificationCenter::finish(const Shared& item) {
    if (item->entry) Spool::remove(*item->entry);
    item->done();
    changed_();
}

void NotificationCenter::closeClearedBy(const Shared& item) {
    const auto numbers = recorded([&] { return shown_->clear(*item->delivery()->push); });
    if (numbers.empty()) return finish(item);
    underWay_.insert(item);
    const auto left = std::make_shared<std::size_t>(numbers.size());
    for (const std::int64_t number : numbers) {
        open_.erase(static_cast<std::uint32_t>(number));
        daemon_.close(static_cast<std::uint32_t>(number), [this, item, left] {
            if (--*left > 0) return;
            underWay_.erase(item);
            finish(item);
        });
    }
}

void NotificationCenter::closed(std::uint32_t number) {
    open_.erase(number);
    if (!shown_) return;
    if (auto removed = recorded([&] { return shown_->remove(number); })) {
        justClosed_.push_back(*std::move(removed));
        if (justClosed_.size() > mostJustClosed) justClosed_.pop_front();
    }
    changed_();
}

std::optional<ShownNotification> NotificationCenter::shownWith(std::uint32_t number) const {
    if (!shown_) return std::nullopt;
    if (auto found = recorded([&] { return shown_->find(number); })) return found;
    const auto found = std::find_if(justClosed_.rbegin(), justClosed_.rend(),
                                    [&](const auto& closed) { return closed.number == number; });
    return found == justClosed_.rend() ? std::nullopt : std::optional(*found);
}

void NotificationCenter::chosen(std::uint32_t number, const std::string& key, const std::string& token) {
    const auto shown = answers_ == Answers::taken ? shownWith(number) : std::nullopt;
    if (!shown) return;
    const bool isReply = key == PushPayload::replyAction;
    if (!isReply && key != Notification::openKey) return;
    activate(isReply ? PushPayload::replyAction : openAction, shown->push, token, [this](bool isTaken) {
        if (!isTaken) tell(kept({texts_.notOpened, texts_.clientNotStarted}));
    });
}

void NotificationCenter::replied(std::uint32_t number, const std::string& text) {
    const auto shown = answers_ == Answers::taken ? shownWith(number) : std::nullopt;
    if (!shown) return;
    auto parameter = shown->push;
    parameter["text"] = text;
    // What the user has written is kept until the client has it, whatever ends meanwhile.
    activate(PushPayload::replyAction, parameter, "", [this, item = kept({texts_.replyNotSent, text})](bool isTaken) {
        if (!isTaken) return tell(item);
        if (item->entry) Spool::remove(*item->entry);
    });
}

void NotificationCenter::tell(const Shared& error) {
    waiting_.push_back(error);
    presentWaiting();
}

void NotificationCenter::activate(std::string_view action, const Foundation::Dictionary& parameter,
                                  const std::string& token, std::function<void(bool isTaken)> answered) {
    ++answersUnderWay_;
    client_.activate(action, parameter, token, [this, answered = std::move(answered)](const std::string& error) {
        --answersUnderWay_;
        if (!error.empty()) log().error("The client did not take an answer: ", os::Public{error});
        answered(error.empty());
        changed_();
    });
}

void NotificationCenter::tellAndRetry(const std::string& error) {
    if (!waiting_.empty() && !std::exchange(hasTold_, true))
        log().error("Notifications cannot be shown for now: ", os::Public{error});
    // Where several are refused at a time, that is one failure.
    if (std::exchange(isHeldBack_, true)) return;
    retry_ = loop_.after(std::exchange(delay_, std::min(delay_ * 2, longestDelay)), [this] {
        isHeldBack_ = false;
        presentWaiting();
    });
}

void NotificationCenter::watch() {
    if (isWatching_) return;
    isWatching_ = true;
    hasAnswered_ = false;
    watchdog_ = loop_.after(patience, [this] {
        isWatching_ = false;
        if (underWay_.empty() && !isPreparing_) return;
        if (!hasAnswered_) {
            if (!std::exchange(hasTold_, true)) log().error("The notification server does not answer");
            // Should this process end now, a later one is to show them.
            for (const auto& item : underWay_)
                unmark(*item);
        }
        watch();
    });
}

bool NotificationCenter::finishUp() {
    isFinishing_ = true;
    return underWay_.empty() && answersUnderWay_ == 0;
}

}  // namespace Desktop
