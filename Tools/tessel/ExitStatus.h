#pragma once

namespace tessel {

/// What `tessel` answers with. A bundle that is unusable stops it with `Foundation::fatalExitStatus`.
enum ExitStatus : int { done = 0, notFoundOrBadInput = 1, wrongUsage = 2, storageFailed = 3 };

}  // namespace tessel
