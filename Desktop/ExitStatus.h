#pragma once

namespace Desktop {

/// What `tessel-desktop` answers with. An extension bundle that is missing stops it with `Foundation::fatalExitStatus`.
enum ExitStatus : int {
    done = 0,
    someInputWasBad = 1,
    wrongUsage = 2,
    notShown = 3  ///< no bus, no notification server, or no place to keep pushes in: what was taken is kept
};

}  // namespace Desktop
