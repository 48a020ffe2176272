#include "SessionProgram.h"

#include <fcntl.h>
#include <poll.h>
#include <signal.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <utility>

#include "TarnPlatform/process/Spawn.h"

namespace tarn::test {

SessionProgram::SessionProgram(const std::vector<std::string>& command,
                               const std::vector<std::string>& environment, std::filesystem::path log,
                               const std::filesystem::path& errors, const std::string& input)
    : name_(command.at(0)), log_(std::move(log)) {
    const UniqueDescriptor from(::open(input.c_str(), O_RDONLY | O_NOCTTY | O_CLOEXEC));
    const auto writing = [](const std::filesystem::path& file) {
        return UniqueDescriptor(::open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    };
    const auto output = writing(log_);
    const auto complaints = writing(errors.empty() ? log_ : errors);
    const auto program = findProgram(name_);
    if (!from || !output || !complaints || program.empty()) {
        throw std::runtime_error("cannot start " + name_ + (program.empty() ? ": not installed" : ""));
    }
    const auto child = spawn({.program = program,
                              .arguments = command,
                              .environment = environment,
                              .input = from.get(),
                              .output = output.get(),
                              .errors = complaints.get()});
    if (!child) {
        throw std::runtime_error("cannot start " + name_ + ": " + child.error().description);
    }
    pid_ = *child;
}

SessionProgram::SessionProgram(SessionProgram&& other) noexcept
    : name_(std::move(other.name_)),
      log_(std::move(other.log_)),
      pid_(std::exchange(other.pid_, -1)),
      status_(other.status_) {}

SessionProgram& SessionProgram::operator=(SessionProgram&& other) noexcept {
    std::swap(name_, other.name_);
    std::swap(log_, other.log_);
    std::swap(pid_, other.pid_);
    std::swap(status_, other.status_);
    return *this;
}

SessionProgram::~SessionProgram() {
    kill();
}

std::optional<int> SessionProgram::waitFor(std::chrono::milliseconds limit) {
    if (pid_ > 0) {
        // The C library's own pidfd_open is not declared for C++.
        const UniqueDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, pid_, 0)));
        pollfd end{.fd = process.get(), .events = POLLIN, .revents = 0};
        const auto deadline = std::chrono::steady_clock::now() + limit;
        for (auto left = limit; ::poll(&end, 1, static_cast<int>(left.count())) < 0;) {
            left =
                std::max(std::chrono::milliseconds(0), std::chrono::duration_cast<std::chrono::milliseconds>(
                                                           deadline - std::chrono::steady_clock::now()));
        }
        if (::waitpid(pid_, &status_, WNOHANG) != pid_) {
            return std::nullopt;
        }
        pid_ = -1;
    }
    return WIFEXITED(status_) ? WEXITSTATUS(status_) : 128 + WTERMSIG(status_);
}

bool SessionProgram::isRunning() {
    return !waitFor(std::chrono::milliseconds(0));
}

void SessionProgram::signal(int number) const {
    if (pid_ > 0) {
        ::kill(pid_, number);
    }
}

void SessionProgram::end(int number) {
    signal(number);
    signal(SIGCONT);
    if (!waitFor(std::chrono::seconds(3))) {
        kill();
    }
}

void SessionProgram::kill() {
    signal(SIGKILL);
    waitFor(std::chrono::seconds(20));
}

int SessionProgram::wait(std::chrono::milliseconds limit) {
    if (const auto status = waitFor(limit)) {
        return *status;
    }
    throw std::runtime_error(name_ + " still runs; it said: " + output());
}

std::string SessionProgram::output() const {
    std::ostringstream content;
    content << std::ifstream(log_, std::ios::binary).rdbuf();
    return content.str();
}

}  // namespace tarn::test
