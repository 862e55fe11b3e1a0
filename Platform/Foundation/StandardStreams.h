#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace Foundation {

/// Reads the lines of standard input as they come. A pipe that its other end has set to be non-blocking is waited for.
class StandardInput {
public:
    struct Line {
        std::string text;  ///< without its line feed
        bool isEnded;      ///< by a line feed; false for what stands behind the last one
    };

    /// The next line; nothing at the end. Throws `std::system_error` where the input cannot be read.
    std::optional<Line> next();

private:
    std::string buffer_;
    std::size_t start_ = 0;  ///< what stands in front of it has been handed over
    bool atEnd_ = false;
};

/// Takes the places of standard streams that the process was started without, so that nothing else that is opened gets
/// them, and with it what is meant for them: reading and writing there stay errors. To be called first of all.
void holdStandardStreams();

/// Writes all of the text to standard output at once. Throws `std::system_error`.
void writeToStandardOutput(std::string_view text);

/// Writes a line to standard error in one piece, its control characters spelled out.
void reportError(std::string_view message);

}  // namespace Foundation
