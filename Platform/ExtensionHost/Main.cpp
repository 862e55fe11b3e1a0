#include "ExtensionHost/Main.h"

#include <cerrno>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <string>
#include <system_error>
#include <utility>
#include <variant>
#include <vector>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "ExtensionHost/Card.h"
#include "ExtensionHost/ContentJSON.h"
#include "ExtensionHost/PushInput.h"
#include "Foundation/JSONWriter.h"

namespace ExtensionHost {

namespace {

constexpr int someInputWasBad = 1;
constexpr int wrongUsage = 2;

struct Settings {
    Host::Options host;
    bool asJSON = true;
    bool images = false;
    std::vector<std::string> files;
};

const char* name(Delivery delivery) {
    switch (delivery) {
        case Delivery::completed: return "completed";
        case Delivery::expired: return "expired";
        case Delivery::none: break;
    }
    return "none";
}

double roundedMilliseconds(const DeliveredPush& push) { return std::round(push.time.count() * 1000) / 1000; }

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

/// Writes all of it at once, so that a reader never sees half a line. False where nobody reads any more.
bool writeToStandardOutput(const std::string& text) {
    for (std::size_t done = 0; done < text.size();) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data() + done, text.size() - done);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) {
            std::fprintf(stderr, "standard output: %s\n", std::generic_category().message(errno).c_str());
            return false;
        }
        done += static_cast<std::size_t>(count);
    }
    return true;
}

/// The command line's settings; the exit status instead where there is nothing to do.
std::variant<Settings, int> settings(int argc, char** argv) {
    Settings settings;
    double seconds = settings.host.timeLimit.count();
    std::string format = ::isatty(STDOUT_FILENO) == 1 ? "text" : "json";
    bool noDonations = false;
    CLI::App app("Turns push payloads, JSON objects one per line, into the notifications that a person would see.");
    app.add_option("--time-limit", seconds, "Seconds until the end of time is announced to a request")
        ->check([](const std::string& text) {
            double value = 0;
            const bool good = CLI::detail::lexical_cast(text, value) && std::isfinite(value) && value > 0;
            return good ? std::string() : "a finite number of seconds above 0 is wanted, not " + text;
        })
        ->type_name("SECONDS")
        ->capture_default_str();
    app.add_option("--jobs", settings.host.jobs, "Requests in progress at once, 1 to 1024")
        ->check(CLI::Range(1, 1024))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--format", format, "json: one object per line; text: a picture for people")
        ->check(CLI::IsMember({"json", "text"}))
        ->capture_default_str();
    app.add_flag("--no-donations", noDonations, "Accept no donation, as where the platform refuses them");
    app.add_flag("--images", settings.images, "Give the sender's picture too, in base64");
    app.add_option("FILE", settings.files, "Files with payloads; standard input for - and where there is none");
    app.failure_message([](const CLI::App*, const CLI::Error& error) { return std::string(error.what()) + '\n'; });
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUsage;
    }
    settings.host.timeLimit = std::chrono::duration<double>(seconds);
    settings.host.acceptsDonations = !noDonations;
    settings.asJSON = format == "json";
    return settings;
}

}  // namespace

int main(int argc, char** argv, const std::function<void()>& checkBundle, Host::ServiceFactory makeService) {
    auto parsed = settings(argc, argv);
    if (const int* status = std::get_if<int>(&parsed)) return *status;
    Settings& settings = std::get<Settings>(parsed);
    checkBundle();

    // A server or reader that goes away is an error of one operation, not the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    bool allWritten = true;
    Host host(settings.host, std::move(makeService), [&](const DeliveredPush& push) {
        allWritten = writeToStandardOutput(settings.asJSON ? line(push, settings.images) : picture(push));
        return allWritten;
    });
    PushInput input(settings.files);
    const bool allGood = input.read([&](Push push) { return host.receive(std::move(push)); });
    host.finish();
    return allGood && allWritten ? 0 : someInputWasBad;
}

}  // namespace ExtensionHost
