#include "ExtensionHost/Main.h"

#include <atomic>
#include <chrono>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <exception>
#include <new>
#include <string>
#include <system_error>
#include <thread>
#include <utility>

#include <malloc.h>
#include <unistd.h>

#include "ExtensionHost/Card.h"
#include "ExtensionHost/CommandLine.h"
#include "ExtensionHost/ContentJSON.h"
#include "ExtensionHost/PushInput.h"
#include "Foundation/FatalError.h"
#include "Foundation/JSONWriter.h"
#include "Foundation/StandardStreams.h"

namespace ExtensionHost {

namespace {

constexpr int someInputWasBad = 1;

const char* name(Delivery delivery) {
    switch (delivery) {
        case Delivery::completed:
            return "completed";
        case Delivery::expired:
            return "expired";
        case Delivery::none:
            break;
    }
    return "none";
}

double roundedMilliseconds(const DeliveredPush& push) {
    return std::round(push.time.count() * 1000) / 1000;
}

std::string line(const DeliveredPush& push, bool images) {
    Foundation::JSONWriter writer;
    writer.beginObject();
    writer.key("index").value(static_cast<std::int64_t>(push.index));
    writer.key("delivery").value(name(push.delivery));
    writeContent(writer.key("content"), push.content, images);
    writer.key("donated").value(push.wasDonated);
    writer.key("milliseconds").value(roundedMilliseconds(push));
    writer.endObject();
    return std::move(writer).text() + '\n';
}

std::string cardOf(const DeliveredPush& push) {
    Foundation::JSONWriter time;
    time.value(std::round(push.time.count() * 10) / 10);
    std::string heading = std::to_string(push.index) + " · " + name(push.delivery) + " · " + time.text() + " ms";
    if (push.wasDonated) heading += " · donated";
    return card(push.content, heading);
}

[[noreturn]] void leave(int status) {
    std::fflush(stdout);
    ::_exit(status);
}

/// The signals that ask the process to end. They are blocked from here on, in all threads that are started later, and
/// come to the one that waits for them.
class EndSignals {
public:
    EndSignals() {
        ::sigemptyset(&set_);
        for (const int signal : {SIGTERM, SIGINT, SIGHUP}) {
            struct sigaction action {};
            ::sigaction(signal, nullptr, &action);
            if (action.sa_handler != SIG_IGN) ::sigaddset(&set_, signal);  // as it is under nohup
        }
        ::pthread_sigmask(SIG_BLOCK, &set_, nullptr);
    }

    /// Lets the first of them end the requests in progress, and then the process. Both objects are to live until then.
    void watch(Host& host) {
        try {
            std::thread([this, &host] { endProcess(host); }).detach();
        } catch (const std::exception&) {
            ::pthread_sigmask(SIG_UNBLOCK, &set_, nullptr);
        }
    }

    /// Does not return where a signal is ending the process.
    void giveWay() const {
        while (isTaken_)
            ::pause();
    }

private:
    /// How long what is delivered may wait for its reader.
    static constexpr std::chrono::seconds patience{2};

    void endProcess(Host& host) {
        int signal = 0;
        while (::sigwait(&set_, &signal) != 0)
            continue;
        isTaken_ = true;
        host.expire();
        host.finish(patience);
        ::signal(signal, SIG_DFL);
        ::pthread_sigmask(SIG_UNBLOCK, &set_, nullptr);
        ::raise(signal);
        leave(128 + signal);  // the first process of a container survives its own signals
    }

    sigset_t set_{};
    std::atomic<bool> isTaken_ = false;
};

}  // namespace

void main(int argc, char** argv, const std::function<void()>& checkBundle, Host::ServiceFactory makeService) {
    Foundation::holdStandardStreams();
    Foundation::makeLackOfMemoryFatal();
    const auto parsed = parseCommandLine(argc, argv);
    if (const int* status = std::get_if<int>(&parsed)) leave(*status);
    const auto& settings = std::get<CommandLine>(parsed);
    checkBundle();

    // What a large answer took goes back to the system. Otherwise the allocator takes the first for the usual size, and
    // each thread keeps room for one.
    ::mallopt(M_MMAP_THRESHOLD, 128 << 10);
    // A server that goes away is an error of one operation, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    EndSignals signals;
    std::atomic<bool> allGood = true;
    Host host(settings.host, std::move(makeService), [&](const DeliveredPush& push) {
        const auto text = [&](bool images) { return settings.asJSON ? line(push, images) : cardOf(push); };
        try {
            std::string made;
            try {
                made = text(settings.images);
            } catch (const std::bad_alloc&) {
                made = text(false);  // the picture takes the most
                if (settings.images) {
                    allGood = false;
                    Foundation::reportError("a sender's picture is left out: there is not enough memory");
                }
            }
            Foundation::writeToStandardOutput(made);
        } catch (const std::system_error& error) {
            // Nobody reads what is delivered: there is nothing left to wait for.
            Foundation::reportError("standard output: " + error.code().message());
            leave(someInputWasBad);
        } catch (const std::bad_alloc&) {
            allGood = false;
            Foundation::reportError("a notification could not be delivered: there is not enough memory");
        }
    });
    signals.watch(host);
    PushInput input(settings.files);
    if (!input.read([&](Push push) { return host.receive(std::move(push)); })) allGood = false;
    host.finish();
    signals.giveWay();
    leave(allGood ? 0 : someInputWasBad);
}

}  // namespace ExtensionHost
