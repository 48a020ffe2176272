#include "PipeReader.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <csignal>
#include <cstring>
#include <stdexcept>

namespace tarn::bench {

PipeReader::PipeReader(const std::vector<std::string>& command,
                       std::function<void(std::span<const float>)> heard) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::runtime_error("no pipe");
    }
    std::vector<char*> arguments;
    for (const auto& word : command) {
        arguments.push_back(const_cast<char*>(word.c_str()));
    }
    arguments.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDOUT_FILENO);
    const int failed = ::posix_spawnp(&pid_, arguments[0], &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    pipe_ = ends[0];
    if (failed != 0) {
        ::close(pipe_);
        throw std::runtime_error("cannot run " + command[0] + ": " + std::strerror(failed));
    }
    thread_ = std::thread([heard = std::move(heard), pipe = pipe_] {
        std::vector<float> samples(32768);
        std::size_t held = 0;  // bytes
        auto* const bytes = reinterpret_cast<std::byte*>(samples.data());
        constexpr std::size_t frame = 2 * sizeof(float);
        for (;;) {
            const ssize_t got = ::read(pipe, bytes + held, samples.size() * sizeof(float) - held);
            if (got <= 0) {
                return;
            }
            held += static_cast<std::size_t>(got);
            const std::size_t whole = held / frame * frame;
            heard(std::span(samples).first(whole / sizeof(float)));
            std::memmove(bytes, bytes + whole, held - whole);
            held -= whole;
        }
    });
}

PipeReader::~PipeReader() {
    if (pid_ > 0) {
        stop();
    }
}

double PipeReader::stop() {
    ::kill(pid_, SIGTERM);
    int status = 0;
    rusage usage{};
    ::wait4(pid_, &status, 0, &usage);
    pid_ = -1;
    thread_.join();
    ::close(pipe_);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

}  // namespace tarn::bench
