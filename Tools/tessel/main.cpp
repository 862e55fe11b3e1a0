#include <exception>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

#include <CLI/CLI.hpp>

#include "ExtensionHost/CommandLine.h"
#include "Foundation/FatalError.h"
#include "Foundation/StandardStreams.h"
#include "tessel/BundlePath.h"
#include "tessel/Commands.h"
#include "tessel/ExitStatus.h"
#include "tessel/Model.h"
#include "tessel/PushCommand.h"

namespace {

/// All operations but `decode`.
std::vector<const tessel::Operations*> namedOperations() {
    return {&tessel::pushOperations(),    &tessel::ruleOperations(),   &tessel::notificationOperations(),
            &tessel::settingOperations(), &tessel::dialogOperations(), &tessel::timelineOperations(),
            &tessel::sidebarOperations()};
}

/// What was asked for by name, out of all operations. A name that there is none of, and a type that is missing or too
/// much, are wrong usage.
const tessel::Operation& operationNamed(const std::string& name, const std::string& type) {
    if (name == "decode") {
        if (type.empty()) throw CLI::ValidationError("TYPE", "missing: decode needs one");
        if (const auto* operation = tessel::findOperation(tessel::decodeOperations(), type)) return *operation;
        throw CLI::ValidationError("TYPE", "unknown: " + type);
    }
    if (!type.empty()) throw CLI::ValidationError("TYPE", "only decode takes one");
    for (const auto* operations : namedOperations())
        if (const auto* operation = tessel::findOperation(*operations, name)) return *operation;
    throw CLI::ValidationError("OPERATION", "unknown: " + name);
}

std::string listOf(const std::string& heading, const std::vector<const tessel::Operations*>& all) {
    std::string list = heading + ':';
    for (const auto* operations : all)
        for (const auto& [name, ignored] : *operations)
            list += "\n  " + name;
    return list + '\n';
}

void addModelCommand(CLI::App& app, std::string& name, std::string& type, std::string& bundle, int& status) {
    CLI::App* model = app.add_subcommand("model", "Tries one operation of the model on each line of standard input");
    model->footer(listOf("Operations", namedOperations()) +
                  listOf("\nOperation decode, with one of these types", {&tessel::decodeOperations()}));
    model->add_option("OPERATION", name, "The operation's name")->required();
    model->add_option("TYPE", type, "For decode: the type that each line's JSON is of");
    tessel::addBundleOption(*model, bundle);  // taken for likeness; no operation needs it
    model->callback([&name, &type, &status] { status = tessel::runModel(operationNamed(name, type)); });
}

}  // namespace

int main(int argc, char** argv) {
    Foundation::holdStandardStreams();
    Foundation::makeLackOfMemoryFatal();
    if (argc > 1 && std::string_view(argv[1]) == "push") return tessel::runPush(argc, argv);

    int status = tessel::done;
    std::string operation;
    std::string type;
    std::string bundle;
    CLI::App app("The notification extension's tool: servers, session tokens, pushes, and what a client shows.",
                 "tessel");
    app.set_version_flag("--version", std::string(TESSEL_VERSION));
    app.require_subcommand(1);
    app.option_defaults()->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    app.failure_message([](const CLI::App* failed, const CLI::Error& error) {
        const auto unknown = failed->remaining(true);
        if (error.get_name() != "RequiredError" || unknown.empty()) return ExtensionHost::usageError(error);
        const std::string what = unknown.front().starts_with('-') ? "option" : "subcommand";
        return "the " + what + " is unknown; --help tells which there are\n";
    });
    // Handled above; it stands here to be listed.
    app.add_subcommand("push", "Turns push payloads into notifications: the extension's own program");
    tessel::addServerCommands(app, status);
    tessel::addTokenCommands(app, status);
    addModelCommand(app, operation, type, bundle, status);
    tessel::addViewCommand(app, status);
    tessel::addEndpointCommand(app, bundle, status);
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
