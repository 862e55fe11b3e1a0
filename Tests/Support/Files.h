#pragma once

#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>

#include <stdlib.h>

#include "Foundation/Files.h"

/// Files of a test's or a benchmark's own.
namespace Support {

/// A directory that goes with the object.
class TemporaryDirectory {
public:
    TemporaryDirectory() {
        std::string name = (std::filesystem::temp_directory_path() / "tessel-test-XXXXXX").string();
        if (::mkdtemp(name.data()) == nullptr) throw std::filesystem::filesystem_error("mkdtemp", {});
        path_ = name;
    }
    ~TemporaryDirectory() { remove_all(path_, ignored_); }
    TemporaryDirectory(TemporaryDirectory&&) = delete;

    std::filesystem::path operator/(std::string_view name) const { return path_ / name; }
    const std::filesystem::path& path() const { return path_; }

private:
    std::filesystem::path path_;
    std::error_code ignored_;
};

inline void writeFile(const std::filesystem::path& path, std::string_view text) {
    std::filesystem::create_directories(path.parent_path());
    std::ofstream(path, std::ios::binary) << text;
}

inline std::string readFile(const std::filesystem::path& path) {
    return std::string(Foundation::textView(Foundation::Files::read(path)));
}

}  // namespace Support
