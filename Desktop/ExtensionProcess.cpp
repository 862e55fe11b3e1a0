#include "Desktop/ExtensionProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>

#include "Desktop/Log.h"

namespace Desktop {

namespace {

/// A picture of eight megabytes in base64, and as much text with every byte escaped (\u0000).
constexpr std::size_t mostBytes = 64U << 20U;

/// Neither blocked signals nor those that are ignored go to the child, which leads a group of its own.
class Attributes {
public:
    Attributes() {
        sigset_t none, all;
        sigemptyset(&none);
        sigfillset(&all);
        ::posix_spawnattr_init(&attributes_);
        ::posix_spawnattr_setflags(&attributes_,
                                   POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETPGROUP);
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        ::posix_spawnattr_setsigdefault(&attributes_, &all);
    }
    ~Attributes() { ::posix_spawnattr_destroy(&attributes_); }
    Attributes(const Attributes&) = delete;
    Attributes& operator=(const Attributes&) = delete;

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

/// Standard input is empty, and standard output this descriptor.
class Streams {
public:
    explicit Streams(int output) {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawn_file_actions_addopen(&actions_, STDIN_FILENO, "/dev/null", O_RDONLY, 0);
        ::posix_spawn_file_actions_adddup2(&actions_, output, STDOUT_FILENO);
    }
    ~Streams() { ::posix_spawn_file_actions_destroy(&actions_); }
    Streams(const Streams&) = delete;
    Streams& operator=(const Streams&) = delete;

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

}  // namespace

ExtensionProcess::ExtensionProcess(EventLoop& loop, const std::filesystem::path& program,
                                   const std::filesystem::path& push, Completion complete,
                                   std::chrono::milliseconds limit)
    : complete_(std::move(complete)) {
    try {
        start(program, push);
        readable_ = loop.watch(output_.number(), POLLIN, [this] { read(); });
        timer_ = loop.after(limit, [this] { end("did not answer in time"); });
    } catch (const std::system_error& error) {
        timer_ = loop.after({}, [this, reason = std::string(error.what())] { end("could not be started: " + reason); });
    }
}

ExtensionProcess::~ExtensionProcess() {
    if (process_ <= 0) return;
    ::kill(-process_, SIGKILL);
    ::waitpid(process_, nullptr, 0);
}

void ExtensionProcess::start(const std::filesystem::path& program, const std::filesystem::path& push) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) throw std::system_error(errno, std::generic_category(), "pipe");
    output_ = Foundation::Descriptor(ends[0]);
    const Foundation::Descriptor input(ends[1]);
    ::fcntl(output_.number(), F_SETFL, O_NONBLOCK);

    std::array<std::string, 6> texts = {program.string(), "--format", "json", "--images", "--", push.string()};
    std::array<char*, texts.size() + 1> arguments{};
    for (std::size_t i = 0; i < texts.size(); ++i)
        arguments[i] = texts[i].data();
    const int error = ::posix_spawn(&process_, program.c_str(), Streams(input.number()).get(), Attributes().get(),
                                    arguments.data(), environ);
    if (error != 0) {
        process_ = -1;
        throw std::system_error(error, std::generic_category(), program.string());
    }
}

void ExtensionProcess::read() {
    std::array<char, 65'536> buffer;
    for (;;) {
        const ssize_t count = ::read(output_.number(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0 && errno == EAGAIN) return;
        if (count <= 0) return end();
        const std::size_t before = written_.size();
        written_.append(buffer.data(), static_cast<std::size_t>(count));
        // The line is all that is wanted: whoever else may hold the output open is not waited for.
        if (const auto line = written_.find('\n', before); line != written_.npos) {
            written_.resize(line + 1);
            return end();
        }
        if (written_.size() > mostBytes) return end("wrote too much");
    }
}

void ExtensionProcess::end(std::string reason) {
    readable_ = {};
    timer_ = {};
    int status = 0;
    if (process_ > 0) {
        // It has written its line, or is not to write more. Neither it nor what it has started is waited for.
        ::kill(-process_, SIGKILL);
        ::waitpid(std::exchange(process_, -1), &status, 0);
    }
    const bool isLine = written_.ends_with('\n');
    if (reason.empty() && !isLine) {
        reason = "answered with no line";
        if (WIFEXITED(status)) reason += " (status " + std::to_string(WEXITSTATUS(status)) + ')';
        if (WIFSIGNALED(status) && WTERMSIG(status) != SIGKILL)
            reason = "crashed (signal " + std::to_string(WTERMSIG(status)) + ')';
    }
    if (!reason.empty()) {
        log().error("The extension ", os::Public{reason}, "; the push is shown as it came");
        return complete_(std::nullopt);
    }
    complete_(std::move(written_));
}

}  // namespace Desktop
