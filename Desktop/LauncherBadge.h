#pragma once

#include <cstdint>
#include <memory>

#include "Desktop/Bus.h"

namespace Desktop {

/// The number on the client's icon in a dock: the signal `com.canonical.Unity.LauncherEntry.Update`.
class LauncherBadge {
public:
    explicit LauncherBadge(Bus& bus);

    /// Shows the count; none where it is not positive.
    void show(std::int64_t count);

private:
    std::unique_ptr<sdbus::IObject> entry_;
};

}  // namespace Desktop
