#pragma once

#include <cstddef>
#include <functional>
#include <initializer_list>
#include <string>
#include <string_view>

namespace os {

/// A message argument that anyone may read in the log.
struct Public {
    std::string_view text;
};

/// A message argument that appears as "<private>": the log never holds it.
struct Private {
    std::string_view text;
};

enum class LogLevel { standard, error };

/// A line of the log. What was private in the message has been replaced.
struct LogEntry {
    LogLevel level;
    std::string subsystem;
    std::string category;
    std::string message;
};

/// Writes to the system's log: the journal (fields SUBSYSTEM, CATEGORY, PRIORITY: notice or err), or where no journal
/// runs, or TESSEL_LOG is "stderr" in the environment, one line on standard error, "<level> <subsystem> <category>:
/// <message>" with control characters escaped. Safe to use from several threads. An entry that cannot be written, or for
/// which there is no memory, is dropped; nothing is thrown.
class Logger {
public:
    /// The texts are literals: they last.
    consteval Logger(std::string_view subsystem, std::string_view category)
        : subsystem_(subsystem), category_(category) {}

    /// Logs a message of literal texts, `Public` and `Private` arguments, at the default level.
    template <class... Parts>
    void log(const Parts&... parts) const {
        write(LogLevel::standard, {text(parts)...});
    }

    template <class... Parts>
    void error(const Parts&... parts) const {
        write(LogLevel::error, {text(parts)...});
    }

private:
    template <std::size_t size>
    static std::string_view text(const char (&literal)[size]) {
        return {literal, size - 1};
    }
    static std::string_view text(Public argument) { return argument.text; }
    static std::string_view text(Private) { return "<private>"; }

    void write(LogLevel level, std::initializer_list<std::string_view> message) const;

    std::string_view subsystem_;
    std::string_view category_;
};

/// Sends every entry of the process to `sink` instead, or with an empty one to the system's log again. For tests and
/// embedders; call it while nothing is being logged. It is to throw nothing but `std::bad_alloc`.
void setLogSink(std::function<void(const LogEntry&)> sink);

}  // namespace os
