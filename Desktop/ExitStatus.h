#pragma once

namespace Desktop {

/// What `tessel-desktop` answers with. An extension bundle that is missing stops it with `Foundation::fatalExitStatus`.
enum ExitStatus : int {
    done = 0,
    someInputWasBad = 1,
    wrongUsage = 2,
    notShown = 3  ///< no bus, no notification server, no place to keep pushes in, or, for the service, another one that
                  ///< runs already: what was taken is kept
};

}  // namespace Desktop
