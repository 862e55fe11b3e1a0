#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/Data.h"
#include "Foundation/Descriptor.h"

namespace Desktop {

/// The pushes that a process has taken and not yet shown, a file each, so that none is lost when it ends: a later
/// process finds those of an earlier one. Each function throws `Foundation::CocoaError`.
class Spool {
public:
    /// One push in it.
    using Entry = std::filesystem::path;

    /// The spool of this name in the directory, for this process alone. Throws with EAGAIN where another process has
    /// it.
    Spool(const std::filesystem::path& directory, const std::string& name);

    /// Keeps a push: once this has returned, it outlives the process and the machine.
    Entry add(const Foundation::Data& push);

    /// All, in the order in which they came. Those that were being shown when a process ended are removed: whether they
    /// were seen nobody knows, and none is to be shown twice.
    std::vector<Entry> entries();

    /// Takes over what is in the directory's other spools that no process has any more.
    void adopt();

    static void remove(const Entry& entry);

    /// Removes the spool's directory where nothing is left in it; no other function may be called any more.
    void removeIfEmpty() noexcept;

    /// Marks an entry as one that is being shown; and the mark's removal.
    static Entry marked(const Entry& entry);
    static Entry unmarked(const Entry& entry);

private:
    std::filesystem::path directory_, path_;
    Foundation::Descriptor lock_;
    std::uint64_t last_ = 0;
};

}  // namespace Desktop
