#include <exception>

#include "Desktop/Registration.h"
#include "Desktop/StateDirectory.h"
#include "Foundation/DecodingError.h"
#include "Foundation/StandardStreams.h"
#include "tessel/Commands.h"
#include "tessel/ExitStatus.h"

namespace tessel {

namespace {

int printEndpoint() {
    std::optional<std::string> endpoint;
    try {
        endpoint = Desktop::Registration::load(Desktop::stateDirectory()).endpoint;
    } catch (const Foundation::DecodingError& error) {
        Foundation::reportError(std::string("the registration of tessel-desktop is not understood: ") + error.what());
        return storageFailed;
    } catch (const std::exception& error) {
        Foundation::reportError(error.what());
        return storageFailed;
    }
    if (endpoint) {
        Foundation::writeToStandardOutput(*endpoint + '\n');
        return done;
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
