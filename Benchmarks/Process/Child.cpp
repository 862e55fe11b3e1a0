#include "Child.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <fstream>
#include <stdexcept>
#include <system_error>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

constexpr double kibibytesPerMebibyte = 1024;

int check(int result) {
    if (result < 0) throw std::system_error(errno, std::generic_category());
    return result;
}

double millisecondsSince(Clock::time_point start) {
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

pid_t start(const std::vector<std::string>& command, int input, int output) {
    std::vector<char*> arguments;
    for (const auto& argument : command)
        arguments.push_back(const_cast<char*>(argument.c_str()));
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, input, STDIN_FILENO);
    posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
    pid_t process = 0;
    const int error = ::posix_spawnp(&process, arguments[0], &actions, nullptr, arguments.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (error != 0) throw std::system_error(error, std::generic_category(), command[0]);
    return process;
}

/// Raises what was seen so far to what is resident now.
void watch(pid_t process, Taken& taken) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    double own = 0;
    for (std::string line; std::getline(status, line);) {
        const std::string_view name = std::string_view(line).substr(0, line.find(':'));
        const auto size = [&] { return std::stod(line.substr(name.size() + 1)) / kibibytesPerMebibyte; };
        if (name == "RssAnon" || name == "RssShmem") own += size();
        if (name == "RssFile") taken.ofFiles = std::max(taken.ofFiles, size());
    }
    taken.own = std::max(taken.own, own);
}

}  // namespace

Descriptor openForReading(const std::string& file) {
    return Descriptor(check(::open(file.c_str(), O_RDONLY | O_CLOEXEC)));
}

std::pair<Descriptor, Descriptor> makePipe() {
    std::array<int, 2> ends{};
    check(::pipe2(ends.data(), O_CLOEXEC));
    return {Descriptor(ends[0]), Descriptor(ends[1])};
}

Taken run(const std::vector<std::string>& command, const Descriptor& input,
          const std::function<void(std::string_view)>& takeLine, bool watchMemory) {
    Taken taken;
    auto [output, childsOutput] = makePipe();
    const auto begin = Clock::now();
    const pid_t process = start(command, input.number(), childsOutput.number());
    childsOutput.close();

    std::string text;
    std::array<char, 65536> chunk{};
    while (true) {
        pollfd readable{output.number(), POLLIN, 0};
        const int ready = check(::poll(&readable, 1, watchMemory ? 2 : -1));
        if (watchMemory) watch(process, taken);
        if (ready == 0) continue;
        const auto count = ::read(output.number(), chunk.data(), chunk.size());
        if (count <= 0) break;
        text.append(chunk.data(), static_cast<std::size_t>(count));
        std::size_t start = 0;
        for (std::size_t end = 0; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
            if (!taken.untilFirstLine) taken.untilFirstLine = millisecondsSince(begin);
            takeLine(std::string_view(text).substr(start, end - start));
        }
        text.erase(0, start);
    }

    int status = 0;
    rusage usage{};
    while (::wait4(process, &status, 0, &usage) < 0)
        if (errno != EINTR) check(-1);
    taken.untilExit = millisecondsSince(begin);
    taken.resident = static_cast<double>(usage.ru_maxrss) / kibibytesPerMebibyte;
    if (status != 0) throw std::runtime_error(command[0] + " failed");
    return taken;
}
