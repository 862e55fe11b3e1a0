#include <exception>
#include <string>
#include <string_view>
#include <system_error>

#include <CLI/CLI.hpp>

#include "ExtensionHost/CommandLine.h"
#include "Foundation/StandardStreams.h"
#include "tessel/BundlePath.h"
#include "tessel/ExitStatus.h"
#include "tessel/Model.h"
#include "tessel/PushCommand.h"
#include "tessel/ServerCommands.h"

namespace {

void addModelCommand(CLI::App& app, std::string& name, std::string& bundle, int& status) {
    std::string known;
    for (const auto& [operation, ignored] : tessel::pushOperations())
        known += "\n  " + operation;
    CLI::App* model = app.add_subcommand("model", "Tries one operation of the model on each line of standard input");
    model->footer("Operations:" + known);
    model->add_option("OPERATION", name, "The operation's name")->required();
    tessel::addBundleOption(*model, bundle);  // taken for likeness; no operation needs it
    model->callback([&name, &status] {
        const tessel::Operation* operation = tessel::findOperation(name);
        if (operation == nullptr) throw CLI::ValidationError("OPERATION", "unknown: " + name);
        status = tessel::runModel(*operation);
    });
}

}  // namespace

int main(int argc, char** argv) {
    Foundation::holdStandardStreams();
    if (argc > 1 && std::string_view(argv[1]) == "push") return tessel::runPush(argc, argv);

    int status = tessel::done;
    std::string operation;
    std::string bundle;
    CLI::App app("The notification extension's tool: servers, session tokens, pushes.", "tessel");
    app.set_version_flag("--version", std::string(TESSEL_VERSION));
    app.require_subcommand(1);
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
        const bool isUnknown = error.get_name() == "RequiredError" && !failed->remaining(true).empty();
        return isUnknown ? "the subcommand is unknown; --help tells which there are\n"
                         : ExtensionHost::usageError(error);
    });
    // Handled above; it stands here to be listed.
    app.add_subcommand("push", "Turns push payloads into notifications: the extension's own program");
    tessel::addServerCommands(app, status);
    tessel::addTokenCommands(app, status);
    addModelCommand(app, operation, bundle, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? tessel::done : tessel::wrongUsage;
    } catch (const std::system_error& error) {
        Foundation::reportError(error.what());
        return tessel::notFoundOrBadInput;
    } catch (const std::exception& error) {
        Foundation::reportError(error.what());
        return tessel::storageFailed;
    }
    return status;
}
