#pragma once

#include <functional>

#include "ExtensionHost/Host.h"

namespace ExtensionHost {

/// The program of a notification service extension: reads pushes, has each made into a notification, and writes what
/// is delivered, one line (or card) each, to standard output. `checkBundle` is called before any input is read, and
/// stops the process where the bundle lacks something. It leaves with the exit status: 0 all delivered, 1 some input
/// was bad or the output failed, 2 the command line was wrong; without exit handlers, since tasks that still wait for
/// the network must not meet what these tear down.
///
/// SIGTERM, SIGINT and SIGHUP announce the end of time to the requests in progress; when these have been delivered the
/// process ends as the signal would have ended it. It is to be called before any thread is started.
[[noreturn]] void main(int argc, char** argv, const std::function<void()>& checkBundle,
                       Host::ServiceFactory makeService);

}  // namespace ExtensionHost
