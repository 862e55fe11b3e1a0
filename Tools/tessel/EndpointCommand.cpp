#include "Desktop/Registration.h"
#include "Desktop/StateDirectory.h"
#include "Foundation/CocoaError.h"
#include "Foundation/StandardStreams.h"
#include "tessel/ExitStatus.h"
#include "tessel/ServerCommands.h"

namespace tessel {

namespace {

int printEndpoint() {
    try {
        const auto registration = Desktop::Registration::load(Desktop::stateDirectory());
        if (registration.endpoint) {
            Foundation::writeToStandardOutput(*registration.endpoint + '\n');
            return done;
        }
    } catch (const Foundation::CocoaError& error) {
        Foundation::reportError(error.what());
        return storageFailed;
    }
    Foundation::reportError("there is no endpoint: no push distributor has given one to tessel-desktop yet");
    return notFoundOrBadInput;
}

}  // namespace

void addEndpointCommand(CLI::App& app, std::string& bundle, int& status) {
    CLI::App* endpoint = app.add_subcommand("endpoint", "Prints the URL to which servers are to push for this desktop");
    addBundleOption(*endpoint, bundle);  // taken for likeness
    endpoint->callback([&status] { status = printEndpoint(); });
}

}  // namespace tessel
