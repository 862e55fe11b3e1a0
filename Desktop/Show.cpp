#include "Desktop/Show.h"

#include <chrono>

#include <unistd.h>

#include "Desktop/Bus.h"
#include "Desktop/ExitStatus.h"
#include "Desktop/Log.h"
#include "Desktop/NotificationCenter.h"
#include "Desktop/PushQueue.h"
#include "Desktop/Spool.h"
#include "Desktop/StateDirectory.h"
#include "ExtensionHost/PushInput.h"
#include "Foundation/JSONWriter.h"

namespace Desktop {

namespace {

/// How long nothing may be shown: an extension has its time, a server may be slow to start.
constexpr std::chrono::seconds patience{45};

Foundation::Data json(const Foundation::Dictionary& payload) {
    Foundation::JSONWriter writer;
    write(writer, payload);
    return Foundation::bytes(writer.text());
}

/// Shows what can be shown in time. Whether none was lost meanwhile.
bool show(Spool& spool, const std::vector<Spool::Entry>& entries, const std::filesystem::path& state,
          const std::filesystem::path& extension, const Texts& texts) {
    try {
        EventLoop loop;
        Bus bus(loop);
        EventLoop::Source limit;
        const auto restartLimit = [&] { limit = loop.after(patience, [&] { loop.leave(); }); };
        NotificationCenter center(loop, bus, spool, state / shownNotifications,
                                  NotificationCenter::Answers::leftToOthers, texts, [] {});
        PushQueue queue(loop, center, extension, [&] {
            restartLimit();
            if (queue.isEmpty()) loop.leave();
        });
        for (const auto& entry : entries)
            queue.add(entry);
        restartLimit();
        if (!queue.isEmpty()) loop.run();
        return !queue.hasLost();
    } catch (const sdbus::Error& error) {
        log().error("The session bus failed, and what is not shown is kept: ", os::Public{error.getName()});
        return false;
    }
}

}  // namespace

int show(const std::vector<std::string>& files, const std::filesystem::path& extension, const Texts& texts) {
    const auto state = stateDirectory();
    Spool spool(state / spoolDirectory, "show-" + std::to_string(::getpid()));
    std::vector<Spool::Entry> entries;
    const bool isGood = ExtensionHost::PushInput(files).read([&](const ExtensionHost::Push& push) {
        entries.push_back(spool.add(json(push.payload)));
        return true;
    });

    const bool isNoneLost = entries.empty() || show(spool, entries, state, extension, texts);
    const bool isShown = isNoneLost && spool.entries().empty();
    spool.removeIfEmpty();
    if (!isShown) return notShown;
    return isGood ? done : someInputWasBad;
}

}  // namespace Desktop
