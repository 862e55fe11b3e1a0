#include <cstdio>
#include <exception>
#include <string>
#include <string_view>

#include <CLI/CLI.hpp>

#include "Foundation/UTF8.h"
#include "tessel/BundlePath.h"
#include "tessel/ExitStatus.h"
#include "tessel/Model.h"
#include "tessel/PushCommand.h"
#include "tessel/ServerCommands.h"

namespace {

void addModelCommand(CLI::App& app, std::string& name, std::string& bundle, int& status) {
    std::string known;
    for (const auto& [operation, ignored] : tessel::pushOperations()) known += "\n  " + operation;
    CLI::App* model = app.add_subcommand("model", "Tries one operation of the model on each line of standard input");
    model->footer("Operations:" + known);
    model->add_option("OPERATION", name, "The operation's name")->required();
    model->add_option("--bundle", bundle, "Taken for likeness; no operation needs it")->type_name("PATH");
    model->callback([&name, &status] {
        const tessel::Operation* operation = tessel::findOperation(name);
        if (operation == nullptr) throw CLI::ValidationError("OPERATION", "unknown: " + Foundation::printable(name));
        status = tessel::runModel(*operation);
    });
}

}  // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::string_view(argv[1]) == "push") return tessel::runPush(argc, argv);

    int status = tessel::done;
    std::string operation;
    std::string bundle;
    CLI::App app("The notification extension's tool: servers, session tokens, pushes.", "tessel");
    app.set_version_flag("--version", std::string(TESSEL_VERSION));
    app.require_subcommand(1);
    app.failure_message([](const CLI::App*, const CLI::Error& error) { return std::string(error.what()) + '\n'; });
    // Handled above; it stands here to be listed.
    app.add_subcommand("push", "Turns push payloads into notifications: the extension's own program");
    tessel::addServerCommands(app, status);
    tessel::addTokenCommands(app, status);
    addModelCommand(app, operation, bundle, status);
    try {
        app.parse(argc, argv);
    } catch (const CLI::ParseError& error) {
        return app.exit(error) == 0 ? tessel::done : tessel::wrongUsage;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", Foundation::printable(error.what()).c_str());
        return tessel::storageFailed;
    }
    return status;
}
