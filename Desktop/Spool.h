#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

#include "Foundation/Data.h"
#include "Foundation/Descriptor.h"

namespace Desktop {

/// What a process is still to show, a file each, so that nothing is lost when it ends: a later process finds what an
/// earlier one has left. Each function throws `Foundation::CocoaError`.
class Spool {
public:
    /// One file in it: a push, or an error that the user is to be told.
    using Entry = std::filesystem::path;
    enum class Kind { push, error };
    static Kind kindOf(const Entry& entry);

    /// The spool of this name in the directory, for this process alone. Throws with EAGAIN where another process has
    /// it.
    Spool(const std::filesystem::path& directory, const std::string& name);

    /// Keeps it: once this has returned, it outlives the process and the machine. So does the key, of letters and digits,
    /// which the caller may give it.
    Entry add(const Foundation::Data& content, Kind kind = Kind::push, const std::string& key = "");
    /// Empty where it was given none.
    static std::string keyOf(const Entry& entry);

    /// All, in the order in which they came. Those that were being shown when a process ended are removed: whether they
    /// were seen nobody knows, and none is to be shown twice.
    std::vector<Entry> entries();

    /// Takes over what is in the directory's other spools that no process has any more. One that cannot be read is left,
    /// with a line in the log.
    void adopt();

    /// One that has gone is no error, neither here nor below.
    static void remove(const Entry& entry);

    /// Removes the spool's directory where nothing is left in it; no other function may be called any more.
    void removeIfEmpty() noexcept;

    /// Marks an entry as one that is being shown; and the mark's removal.
    static Entry marked(const Entry& entry);
    static Entry unmarked(const Entry& entry);

private:
    void adopt(const std::filesystem::path& other) const;

    std::filesystem::path directory_, path_;
    Foundation::Descriptor lock_;
    std::uint64_t last_ = 0;
};

}  // namespace Desktop
