#pragma once

#include <condition_variable>
#include <deque>
#include <filesystem>
#include <mutex>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include <gmock/gmock.h>

#include "Foundation/PropertyList.h"
#include "Support/Files.h"
#include "os/Logger.h"

/// What the tests of several libraries share, the test framework included.
namespace Support {

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
            writer_ = entry.subsystem + ' ' + entry.category;
        });
    }
    ~LogRecorder() { os::setLogSink({}); }
    LogRecorder(LogRecorder&&) = delete;

    /// The entries since it was asked last.
    std::vector<std::string> lines() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }
    /// The last one's subsystem and category.
    std::string writer() {
        const std::lock_guard lock(mutex_);
        return writer_;
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
    std::string writer_;
};

}  // namespace Support
