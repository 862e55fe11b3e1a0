#pragma once

#include <functional>
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
/// <message>" with control characters escaped.
/// Safe to use from several threads. An entry that cannot be written is dropped; nothing but memory exhaustion is
/// thrown.
class Logger {
public:
    Logger(std::string_view subsystem, std::string_view category) : subsystem_(subsystem), category_(category) {}

    /// Logs a message of literal texts, `Public` and `Private` arguments, at the default level.
    template <class... Parts>
    void log(const Parts&... parts) const {
        write(LogLevel::standard, message(parts...));
    }

    template <class... Parts>
    void error(const Parts&... parts) const {
        write(LogLevel::error, message(parts...));
    }

private:
    template <class... Parts>
    static std::string message(const Parts&... parts) {
        std::string text;
        (append(text, parts), ...);
        return text;
    }

    template <std::size_t size>
    static void append(std::string& text, const char (&literal)[size]) {
        text.append(literal, size - 1);
    }
    static void append(std::string& text, Public argument) { text += argument.text; }
    static void append(std::string& text, Private) { text += "<private>"; }

    void write(LogLevel level, std::string message) const;

    std::string subsystem_;
    std::string category_;
};

/// Sends every entry of the process to `sink` instead, or with an empty one to the system's log again. For tests and
/// embedders; call it while nothing is being logged.
void setLogSink(std::function<void(const LogEntry&)> sink);

}  // namespace os
