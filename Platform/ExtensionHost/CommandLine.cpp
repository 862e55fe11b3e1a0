#include "ExtensionHost/CommandLine.h"

#include <sstream>

#include <CLI/CLI.hpp>
#include <unistd.h>

#include "Foundation/UTF8.h"

namespace ExtensionHost {

namespace {

constexpr int wrongUsage = 2;

}  // namespace

std::string checkSeconds(const std::string& text, double longest) {
    double value = 0;
    if (CLI::detail::lexical_cast(text, value) && value > 0 && value <= longest) return "";
    std::ostringstream reason;
    reason << "a finite number of seconds above 0";
    if (longest < std::numeric_limits<double>::max()) reason << ", " << longest << " at most,";
    reason << " is wanted, not \"" << text << '"';
    return reason.str();
}

std::string usageError(const std::exception& error) {
    const bool isUnexpected = dynamic_cast<const CLI::ExtrasError*>(&error) != nullptr;
    const std::string reason =
        isUnexpected ? "an argument or option was not expected; --help tells what is" : error.what();
    return Foundation::printable(reason) + '\n';
}

std::variant<CommandLine, int> parseCommandLine(int argc, char** argv, const std::string& footer) {
    CommandLine line;
    double seconds = line.host.timeLimit.count();
    std::string format = ::isatty(STDOUT_FILENO) == 1 ? "text" : "json";
    bool noDonations = false;
    CLI::App app("Turns push payloads, JSON objects one per line, into the notifications that a person would see.",
                 argv[0]);
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.add_option("--time-limit", seconds, "Seconds until the end of time is announced to a request")
        ->check([](const std::string& text) { return checkSeconds(text); })
        ->type_name("SECONDS")
        ->capture_default_str();
    app.add_option("--jobs", line.host.jobs, "Requests in progress at once, 1 to 1024")
        ->check(CLI::Range(1, 1024))
        ->type_name("N")
        ->capture_default_str();
    app.add_option("--format", format, "json: one object per line; text: a card for people")
        ->check(CLI::IsMember({"json", "text"}))
        ->capture_default_str();
    app.add_flag("--no-donations", noDonations, "Accept no donation, as where the platform refuses them");
    app.add_flag("--images", line.images, "Give the sender's picture too, in base64");
    app.add_option("FILE", line.files, "Files with payloads; standard input for - and where there is none")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.footer(footer);
    app.failure_message([](const CLI::App*, const CLI::Error& error) { return usageError(error); });

    // CLI11 takes a value in brackets for a list of values; a file may have such a name.
    std::vector<std::string> arguments;
    for (int i = argc - 1; i > 0; --i)
        arguments.emplace_back(*argv[i] == '[' ? std::string("./") + argv[i] : std::string(argv[i]));
    try {
        app.parse(std::move(arguments));
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? 0 : wrongUsage;
    }
    line.host.timeLimit = std::chrono::duration<double>(seconds);
    line.host.acceptsDonations = !noDonations;
    line.asJSON = format == "json";
    return line;
}

}  // namespace ExtensionHost
