#include "Foundation/FatalError.h"

#include <cstdlib>
#include <exception>
#include <new>
#include <string>

#include <unistd.h>

#include "Foundation/StandardStreams.h"

namespace Foundation {

void fatalError(std::string_view message, std::string_view source) {
    reportError(std::string(source) + ": Fatal error: " + std::string(message));
    ::_exit(fatalExitStatus);
}

void makeLackOfMemoryFatal() {
    static const std::terminate_handler usual = std::get_terminate();
    std::set_terminate([] {
        // What an inlined function must not let through has no name here. In the libraries that is lack of memory.
        bool isLack = !std::current_exception() && std::uncaught_exceptions() > 0;
        try {
            if (std::current_exception()) throw;
        } catch (const std::bad_alloc&) {
            isLack = true;
        } catch (...) {
            // The usual handler tells what it is.
        }
        if (!isLack) usual();
        constexpr std::string_view text = "Fatal error: there is not enough memory\n";
        (void)!::write(STDERR_FILENO, text.data(), text.size());
        ::_exit(fatalExitStatus);
    });
}

}  // namespace Foundation
