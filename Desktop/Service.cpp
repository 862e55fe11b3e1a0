#include "Desktop/Service.h"

#include <cerrno>
#include <csignal>
#include <stdexcept>
#include <string_view>
#include <thread>
#include <utility>

#include "Desktop/Log.h"
#include "Desktop/StateDirectory.h"
#include "Foundation/CocoaError.h"
#include "Foundation/URL.h"

namespace Desktop {

namespace {

constexpr std::size_t longestEndpoint = 1000;  // as distributors promise

/// Calls come from here on; they wait for the loop.
std::string takeName(Bus& bus, const std::string& name) {
    try {
        bus.connection().requestName(name);
    } catch (const sdbus::Error& error) {
        if (error.getName() != "org.freedesktop.DBus.Error.FileExists") throw;
        throw std::runtime_error("another process already serves " + name);
    }
    return name;
}

Registration loadRegistration(const std::filesystem::path& state) {
    try {
        return Registration::load(state);
    } catch (const Foundation::DecodingError& error) {
        log().error("The registration is not understood, and made anew: ", os::Public{error.what()});
        return Registration::make();
    }
}

/// The service's spool. A process that is just ending may have it for a moment.
Spool openSpool(const std::filesystem::path& state) {
    constexpr int attempts = 100;
    constexpr std::chrono::milliseconds pause{50};
    for (int attempt = 1;; ++attempt) {
        try {
            return Spool(state / spoolDirectory, "service");
        } catch (const Foundation::CocoaError& error) {
            if (error.posixCode() != EAGAIN || attempt == attempts) throw;
        }
        std::this_thread::sleep_for(pause);
    }
}

}  // namespace

Service::Service(std::filesystem::path state, std::filesystem::path extension, Texts texts,
                 std::chrono::milliseconds idle)
    : state_(std::move(state)),
      idle_(idle),
      bus_(loop_),
      name_(takeName(bus_, busName)),
      spool_(openSpool(state_)),
      registration_(loadRegistration(state_)),
      recent_(state_ / recentMessages),
      center_(loop_, bus_, spool_, state_ / shownNotifications, NotificationCenter::Answers::taken, std::move(texts),
              [this] { restartIdleTime(); }),
      queue_(loop_, center_, std::move(extension), [this] { restartIdleTime(); }),
      connector_(bus_, *this),
      distributor_(loop_, bus_, name_) {}

void Service::run() {
    for (const int signal : {SIGTERM, SIGINT, SIGHUP})
        signals_.push_back(loop_.onSignal(signal, [this] { finishUp(); }));
    save();
    distributor_.registerWith(registration_.distributor, registration_.token, [this](const std::string& distributor) {
        registration_.distributor = distributor;
        save();
    });
    spool_.adopt();
    const auto entries = spool_.entries();
    for (const auto& entry : entries)
        if (const auto key = Spool::keyOf(entry); !key.empty() && !recent_.contain(key)) recent_.add(key);
    remember();
    for (const auto& entry : entries)
        Spool::kindOf(entry) == Spool::Kind::error ? center_.presentError(entry) : queue_.add(entry);
    restartIdleTime();
    loop_.run();
}

/// Anyone may name one as often as they like: it is told once.
bool Service::isOurs(const std::string& token) {
    const bool isOurs = token == registration_.token;
    if (!isOurs && !std::exchange(hasToldUnknown_, true))
        log().log("The push distributor named a token that is not known");
    return isOurs;
}

void Service::received(const std::string& token, const Foundation::Data& message,
                       const std::optional<std::string>& identifier) {
    if (!isOurs(token)) return;
    const auto key = identifier ? RecentMessages::keyOf(*identifier, message) : "";
    if (!key.empty() && recent_.contain(key))
        return log().log("The push distributor sent a message once more; it is not shown again");
    arrived_.push_back(spool_.add(message, Spool::Kind::push, key));
    if (!key.empty()) recent_.add(key);
    // Under a stream of messages the first one's turn must come.
    if (arrived_.size() == 1) arrival_ = loop_.after({}, [this] { takeArrived(); });
}

/// To be called before anything that is new leaves the spool, which knows it until then.
void Service::remember() {
    try {
        recent_.save();
    } catch (const Foundation::CocoaError& error) {
        log().error("The messages that were taken cannot be kept in mind: ", os::Public{error.what()});
    }
}

void Service::takeArrived() {
    remember();
    for (auto arrived = std::exchange(arrived_, {}); const auto& entry : arrived)
        queue_.add(entry);
    restartIdleTime();
}

void Service::endpointChanged(const std::string& token, const std::string& endpoint) {
    if (!isOurs(token)) return;
    const auto url = Foundation::URL::parse(endpoint);
    const bool isGood = url && url->host() && !url->host()->empty() && endpoint.size() <= longestEndpoint &&
                        (endpoint.starts_with("https://") || endpoint.starts_with("http://"));
    if (!isGood) return log().error("The push distributor gave an endpoint that is no address of the web");
    registration_.endpoint = endpoint;
    registration_.save(state_);
    restartIdleTime();
}

void Service::unregistered(const std::string& token) {
    // Version 1 confirms with an empty token what was asked for; nobody here asks.
    if (token.empty() || !isOurs(token)) return;
    registration_.endpoint.reset();
    registration_.save(state_);
    restartIdleTime();
}

bool Service::isIdle() const {
    return arrived_.empty() && queue_.isEmpty() && center_.waiting() == 0 && !center_.mayBeAnswered() &&
           !distributor_.isTrying();
}

/// A registration that cannot be kept is made anew; what is to be shown is shown all the same.
void Service::save() const {
    try {
        registration_.save(state_);
    } catch (const Foundation::CocoaError& error) {
        log().error("The registration cannot be kept: ", os::Public{error.what()});
    }
}

/// What the server has been told it may still answer to, so that a later process does not show it once more.
void Service::finishUp() {
    constexpr std::chrono::seconds patience{2};
    isFinishing_ = true;
    if (center_.finishUp()) return loop_.leave();
    idleTimer_ = loop_.after(patience, [this] { loop_.leave(); });
}

void Service::restartIdleTime() {
    if (isFinishing_ && center_.finishUp()) loop_.leave();
    if (isFinishing_) return;
    idleTimer_ = loop_.after(idle_, [this] { endIfIdle(); });
}

/// What comes from now on has the bus start another process; what has come until then is still ours.
void Service::endIfIdle() {
    if (!isIdle()) return restartIdleTime();
    bus_.connection().releaseName(name_);
    while (bus_.connection().processPendingRequest())
        continue;
    if (isIdle()) return loop_.leave();
    bus_.connection().requestName(name_);
    restartIdleTime();
}

}  // namespace Desktop
