#include "ExtensionHost/Main.h"

#include <cmath>
#include <csignal>
#include <string>
#include <system_error>
#include <utility>

#include "ExtensionHost/Card.h"
#include "ExtensionHost/CommandLine.h"
#include "ExtensionHost/ContentJSON.h"
#include "ExtensionHost/PushInput.h"
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

std::string picture(const DeliveredPush& push) {
    Foundation::JSONWriter time;
    time.value(std::round(push.time.count() * 10) / 10);
    std::string heading = std::to_string(push.index) + " · " + name(push.delivery) + " · " + time.text() + " ms";
    if (push.wasDonated) heading += " · donated";
    return card(push.content, heading);
}

}  // namespace

int main(int argc, char** argv, const std::function<void()>& checkBundle, Host::ServiceFactory makeService) {
    const auto parsed = parseCommandLine(argc, argv);
    if (const int* status = std::get_if<int>(&parsed)) return *status;
    const auto& settings = std::get<CommandLine>(parsed);
    checkBundle();

    // A server or reader that goes away is an error of one operation, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    bool allWritten = true;
    Host host(settings.host, std::move(makeService), [&](const DeliveredPush& push) {
        if (!allWritten) return false;
        try {
            Foundation::writeToStandardOutput(settings.asJSON ? line(push, settings.images) : picture(push));
        } catch (const std::system_error& error) {
            Foundation::reportError("standard output: " + error.code().message());
            allWritten = false;
        }
        return allWritten;
    });
    PushInput input(settings.files);
    const bool allGood = input.read([&](Push push) { return host.receive(std::move(push)); });
    host.finish();
    return allGood && allWritten ? 0 : someInputWasBad;
}

}  // namespace ExtensionHost
