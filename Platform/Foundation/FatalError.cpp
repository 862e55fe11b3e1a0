#include "Foundation/FatalError.h"

#include <cstdio>
#include <string>

#include <unistd.h>

#include "Foundation/UTF8.h"

namespace Foundation {

void fatalError(std::string_view message, std::string_view source) {
    const std::string line = printable(std::string(source) + ": Fatal error: " + std::string(message)) + '\n';
    std::fwrite(line.data(), 1, line.size(), stderr);
    std::fflush(stderr);
    ::_exit(fatalExitStatus);
}

}  // namespace Foundation
