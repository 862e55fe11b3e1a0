#include "Foundation/FatalError.h"

#include <string>

#include <unistd.h>

#include "Foundation/StandardStreams.h"

namespace Foundation {

void fatalError(std::string_view message, std::string_view source) {
    reportError(std::string(source) + ": Fatal error: " + std::string(message));
    ::_exit(fatalExitStatus);
}

}  // namespace Foundation
