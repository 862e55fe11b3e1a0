#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <fstream>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>
#include <stdlib.h>

#include "Foundation/Files.h"
#include "Foundation/PropertyList.h"
#include "os/Logger.h"

/// What the tests of several libraries share, the test framework included.
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

/// The permissions of a file.
inline auto mode(const std::filesystem::path& file) { return unsigned(std::filesystem::status(file).permissions()); }

/// The dictionary in a JSON object.
inline Foundation::Dictionary dictionary(std::string_view json) { return Foundation::parseDictionary(json); }

inline std::string json(const Foundation::Dictionary& dictionary) {
    Foundation::JSONWriter writer;
    write(writer, dictionary);
    return std::move(writer).text();
}

/// Values handed from thread to thread.
template <class Value>
class Queue {
public:
    void push(Value value) {
        const std::lock_guard lock(mutex_);
        values_.push_back(std::move(value));
        changed_.notify_one();
    }
    /// The next value, once there is one.
    Value pop() {
        std::unique_lock lock(mutex_);
        changed_.wait(lock, [this] { return !values_.empty(); });
        Value value = std::move(values_.front());
        values_.pop_front();
        return value;
    }

private:
    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<Value> values_;
};

/// Takes the log of the process while it lives, one text an entry: "error A push …".
class LogRecorder {
public:
    LogRecorder() {
        os::setLogSink([this](const os::LogEntry& entry) {
            const std::lock_guard lock(mutex_);
            lines_.push_back((entry.level == os::LogLevel::error ? "error " : "default ") + entry.message);
        });
    }
    ~LogRecorder() { os::setLogSink({}); }
    LogRecorder(LogRecorder&&) = delete;

    /// The entries since it was asked last.
    std::vector<std::string> lines() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace Support
