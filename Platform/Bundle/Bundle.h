#pragma once

#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "Foundation/PropertyList.h"

namespace Foundation {

/// A directory with a known layout that holds code, resources, or both. Two layouts are read: the one of an
/// application or extension, NAME/Contents/{Info.plist,MacOS,Resources}, and the flat one of resources alone,
/// NAME/{Info.plist,LANGUAGE.lproj}. Safe to use from several threads.
class Bundle {
public:
    /// Opens the bundle at a path; nothing where there is no directory.
    static std::shared_ptr<const Bundle> open(const std::filesystem::path& path);

    /// The bundle of the running program: the application or extension whose Contents/MacOS holds the executable,
    /// else the executable's directory. Found once per process.
    static const Bundle& main();

    /// The bundle that holds the code at this address: found as for `main` from the program or shared library that
    /// the address lies in. Nothing where that is unknown.
    static std::shared_ptr<const Bundle> containing(const void* address);

    const std::filesystem::path& bundlePath() const { return path_; }

    /// Where resources lie: Contents/Resources, or the bundle itself in the flat layout.
    std::filesystem::path resourcePath() const;

    /// The information dictionary, from Info.plist (XML or binary); empty where the file is missing or unreadable,
    /// as the platform's is. Read once.
    const Dictionary& infoDictionary() const;

    /// The key's text in the default table of the first of the user's languages that the bundle has, else in the
    /// English one; the key itself where the table does not hold it. Tables are read once.
    std::string localizedString(const std::string& key) const;

private:
    explicit Bundle(std::filesystem::path path);

    const Dictionary& table(const std::string& language) const;

    std::filesystem::path path_;
    bool hasContents_;
    mutable std::mutex mutex_;
    mutable std::optional<Dictionary> information_;
    mutable std::map<std::string, Dictionary> tables_;
};

}  // namespace Foundation
