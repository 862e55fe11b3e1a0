#include "os/Logger.h"

#include <new>
#include <stdexcept>
#include <utility>

#include <sys/uio.h>
#include <syslog.h>
#include <unistd.h>

// The fields are put together here, so the places in the code that the macros would add are of no use.
#define SD_JOURNAL_SUPPRESS_LOCATION
#include <systemd/sd-journal.h>

#include "Foundation/DynamicLibrary.h"
#include "Foundation/Environment.h"
#include "Foundation/StandardStreams.h"

namespace os {

namespace {

std::function<void(const LogEntry&)>& sink() {
    static std::function<void(const LogEntry&)> current;
    return current;
}

/// Where no journal runs, libsystemd reports success and drops the message: its socket tells.
bool journalIsToBeUsed() {
    return Foundation::environmentVariable("TESSEL_LOG") != "stderr" &&
           ::access("/run/systemd/journal/socket", W_OK) == 0;
}

/// libsystemd's one function that is used. With it come half a dozen libraries, and most pushes log nothing: it is
/// loaded for the first entry. Null where there is no such library.
auto journalWriter() {
    static decltype(sd_journal_sendv)* const function = []() -> decltype(sd_journal_sendv)* {
        try {
            static const Foundation::DynamicLibrary library("libsystemd.so.0");
            return library.function<decltype(sd_journal_sendv)>("sd_journal_sendv");
        } catch (const std::runtime_error&) {
            return nullptr;  // the entry goes to standard error
        }
    }();
    return function;
}

bool writeToJournal(const LogEntry& entry) {
    const auto write = journalWriter();
    if (write == nullptr) return false;
    const std::string fields[] = {
        "MESSAGE=" + entry.message,
        "PRIORITY=" + std::to_string(entry.level == LogLevel::error ? LOG_ERR : LOG_NOTICE),
        "SUBSYSTEM=" + entry.subsystem,
        "CATEGORY=" + entry.category,
    };
    iovec vectors[std::size(fields)];
    for (std::size_t i = 0; i < std::size(fields); ++i)
        vectors[i] = {const_cast<char*>(fields[i].data()), fields[i].size()};
    return write(vectors, std::size(vectors)) == 0;
}

void writeToStandardError(const LogEntry& entry) {
    Foundation::reportError((entry.level == LogLevel::error ? "error " : "default ") + entry.subsystem + ' ' +
                            entry.category + ": " + entry.message);
}

}  // namespace

void setLogSink(std::function<void(const LogEntry&)> replacement) {
    sink() = std::move(replacement);
}

void Logger::write(LogLevel level, std::initializer_list<std::string_view> message) const {
    try {
        LogEntry entry{level, std::string(subsystem_), std::string(category_), {}};
        for (const std::string_view part : message)
            entry.message += part;
        if (sink()) {
            sink()(entry);
        } else if (!journalIsToBeUsed() || !writeToJournal(entry)) {
            writeToStandardError(entry);
        }
    } catch (const std::bad_alloc&) {
        // Most of what is logged is logged where something was caught: nobody is left there to catch this.
        Foundation::reportError("a line of the log is left out: there is not enough memory");
    }
}

}  // namespace os
