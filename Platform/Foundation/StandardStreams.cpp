#include "Foundation/StandardStreams.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <new>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include "Foundation/UTF8.h"

namespace Foundation {

namespace {

/// After a call that failed: returns where it is to be tried again, else throws.
void recover(int descriptor, short event) {
    if (errno == EINTR) return;
    if (errno != EAGAIN && errno != EWOULDBLOCK)
        throw std::system_error(errno, std::generic_category(), event == POLLIN ? "standard input" : "standard output");
    pollfd waiting{descriptor, event, 0};
    ::poll(&waiting, 1, -1);
}

}  // namespace

std::optional<StandardInput::Line> StandardInput::next() {
    std::size_t searched = start_;
    while (true) {
        const std::size_t end = buffer_.find('\n', searched);
        if (end != std::string::npos) {
            Line line{buffer_.substr(start_, end - start_), true};
            start_ = end + 1;
            return line;
        }
        if (atEnd_) break;
        buffer_.erase(0, start_);
        start_ = 0;
        searched = buffer_.size();
        std::array<char, 65536> chunk;
        const ssize_t count = ::read(STDIN_FILENO, chunk.data(), chunk.size());
        if (count < 0) recover(STDIN_FILENO, POLLIN);
        if (count == 0) atEnd_ = true;
        if (count > 0) buffer_.append(chunk.data(), static_cast<std::size_t>(count));
    }
    if (start_ == buffer_.size()) return std::nullopt;
    Line line{buffer_.substr(start_), false};
    start_ = buffer_.size();
    return line;
}

void holdStandardStreams() {
    for (const int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (::fcntl(descriptor, F_GETFD) < 0) ::open("/dev/null", descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY);
}

void writeToStandardOutput(std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(STDOUT_FILENO, text.data(), text.size());
        if (count < 0)
            recover(STDOUT_FILENO, POLLOUT);
        else
            text.remove_prefix(static_cast<std::size_t>(count));
    }
}

void reportError(std::string_view message) {
    try {
        const std::string line = printable(message) + '\n';
        std::fwrite(line.data(), 1, line.size(), stderr);
    } catch (const std::bad_alloc&) {
        // Better than none: the stream has no buffer, and takes no memory.
        std::fputs("there is not enough memory for an error's text\n", stderr);
    }
}

}  // namespace Foundation
