#include <chrono>
#include <csignal>
#include <exception>
#include <filesystem>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "Bundle/ExtensionBundle.h"
#include "Desktop/ExitStatus.h"
#include "Desktop/Log.h"
#include "Desktop/Service.h"
#include "Desktop/Show.h"
#include "Desktop/StateDirectory.h"
#include "Desktop/Texts.h"
#include "ExtensionHost/CommandLine.h"
#include "Foundation/FatalError.h"
#include "Foundation/StandardStreams.h"

namespace {

std::string checkIdle(const std::string& text) {
    constexpr double day = 86'400;
    return ExtensionHost::checkSeconds(text, day);
}

/// The extension's program. Stops the process where there is none.
std::filesystem::path programOf(const std::filesystem::path& bundle) {
    const auto program = Foundation::extensionProgram(bundle);
    std::error_code ignored;
    if (!std::filesystem::exists(program, ignored))
        Foundation::fatalError("there is no extension bundle at " + bundle.string(), "tessel-desktop");
    return program;
}

int serve(const std::filesystem::path& program, const Desktop::Texts& texts, double idle) {
    const std::chrono::duration<double> seconds(idle);
    Desktop::Service service(Desktop::stateDirectory(), program, texts,
                             std::chrono::duration_cast<std::chrono::milliseconds>(seconds));
    service.run();
    return Desktop::done;
}

}  // namespace

int main(int argc, char** argv) {
    Foundation::holdStandardStreams();
    Foundation::makeLackOfMemoryFatal();
    std::string bundle;
    std::vector<std::string> files;
    double idle = 30;
    CLI::App app(
        "The desktop's part: receives pushes, has the extension rewrite them, shows them, and takes the "
        "user's answer to the client. Without a subcommand it is the service that the bus starts.",
        "tessel-desktop");
    app.set_version_flag("--version", std::string(TESSEL_VERSION));
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.failure_message([](const CLI::App*, const CLI::Error& error) { return ExtensionHost::usageError(error); });
    app.add_option("--bundle", bundle, "The extension's bundle")->type_name("PATH");
    app.add_option("--idle", idle, "Seconds without anything to do after which the service ends")
        ->check(checkIdle)
        ->type_name("SECONDS")
        ->capture_default_str();
    CLI::App* show = app.add_subcommand("show", "Shows pushes, JSON objects one per line, as notifications");
    show->add_option("--bundle", bundle, "The extension's bundle")->type_name("PATH");
    show->add_option("FILE", files, "Files with payloads; standard input for - and where there is none")
        ->multi_option_policy(CLI::MultiOptionPolicy::TakeAll);
    app.footer(
        "Pushes come from a UnifiedPush distributor to the bus name com.norvane.tessel.NotificationService; clicks\n"
        "and replies go to the client, com.norvane.tessel. What is not shown yet, what is shown and the\n"
        "registration are kept in $XDG_STATE_HOME/tessel, else in ~/.local/state/tessel.\n"
        "Exit status: 0 done, 1 some input was bad, 2 wrong usage, 3 something could not be shown or kept, 70 there\n"
        "is no extension bundle.");
    show->footer(
        "It ends when all are shown, and answers no clicks: that the service does. What cannot be shown is kept\n"
        "for the service.");
    try {
        app.parse(argc, argv);
        std::signal(SIGPIPE, SIG_IGN);
        // A person's command says at the terminal what the service says in the log.
        if (show->parsed()) os::setLogSink([](const os::LogEntry& entry) { Foundation::reportError(entry.message); });
        const auto path = Foundation::extensionBundlePath(bundle);
        const auto program = programOf(path);
        const auto texts = Desktop::Texts::load(path.parent_path());
        return show->parsed() ? Desktop::show(files, program, texts) : serve(program, texts, idle);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? Desktop::done : Desktop::wrongUsage;
    } catch (const std::exception& error) {
        Desktop::log().error("The desktop's part stopped: ", os::Public{error.what()});
        return Desktop::notShown;
    }
}
