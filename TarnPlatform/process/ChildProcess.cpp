#include "ChildProcess.h"

#include <fcntl.h>
#include <poll.h>
#include <pthread.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstring>
#include <span>

#include "Spawn.h"

namespace tarn {
namespace {

using namespace std::chrono_literals;
using std::chrono::steady_clock;

constexpr std::size_t kReadChunk = 65536;
constexpr std::size_t kUnaskedOutput =
    1 << 20;                    ///< read ahead while writing, so that both sides never wait for each other
constexpr auto kOwnEnd = 50ms;  ///< for a child to end by itself once its pipes are closed
constexpr auto kOrderlyEnd = 200ms;      ///< for a child to end after SIGTERM
constexpr auto kEndAfterOutput = 100ms;  ///< between the end of a child's output and its own

/// poll(2) until the deadline, over interruptions; false once it has passed.
bool waitFor(std::span<pollfd> descriptors, ChildProcess::TimePoint deadline) {
    for (;;) {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(deadline - steady_clock::now()).count();
        const auto limit = static_cast<int>(std::clamp<std::int64_t>(left, 0, INT_MAX));
        const int ready = ::poll(descriptors.data(), descriptors.size(), limit);
        if (ready > 0) {
            return true;
        }
        if (ready == 0 && left <= limit) {
            return false;
        }
        if (ready < 0 && errno != EINTR) {
            return false;
        }
    }
}

/// write(2) without SIGPIPE, whatever the process has decided about that signal: blocked for this thread, and
/// the one that our own write may have raised is taken back.
ssize_t writeQuietly(int descriptor, std::string_view bytes) {
    sigset_t brokenPipe;
    sigset_t pending;
    sigset_t before;
    ::sigemptyset(&brokenPipe);
    ::sigaddset(&brokenPipe, SIGPIPE);
    ::sigpending(&pending);
    const bool wasPending = ::sigismember(&pending, SIGPIPE) == 1;
    ::pthread_sigmask(SIG_BLOCK, &brokenPipe, &before);
    const auto written = ::write(descriptor, bytes.data(), bytes.size());
    const int code = errno;
    if (written < 0 && code == EPIPE && !wasPending) {
        const timespec now{};
        while (::sigtimedwait(&brokenPipe, nullptr, &now) < 0 && errno == EINTR) {
        }
    }
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    errno = code;
    return written;
}

bool makeNonBlocking(const UniqueDescriptor& descriptor) {
    return ::fcntl(descriptor.get(), F_SETFL, O_NONBLOCK) == 0;
}

std::vector<std::string> environmentWith(const std::vector<std::pair<std::string, std::string>>& changes) {
    std::vector<std::string> result;
    for (char** entry = environ; entry != nullptr && *entry != nullptr; ++entry) {
        const std::string_view text = *entry;
        const auto name = text.substr(0, text.find('='));
        if (std::ranges::none_of(changes, [&](const auto& change) { return change.first == name; })) {
            result.emplace_back(text);
        }
    }
    for (const auto& [name, value] : changes) {
        result.emplace_back(name).append("=").append(value);
    }
    return result;
}

std::string sentenceOf(const siginfo_t& how) {
    return (how.si_code == CLD_EXITED ? "ended with status " : "was ended by signal ") +
           std::to_string(how.si_status);
}

std::unexpected<Error> stoppedError() {
    return failure(ErrorKind::cancelled, "is being ended");
}

Error systemError(const std::string& what) {
    return Error{ErrorKind::system, what + ": " + std::strerror(errno)};
}

}  // namespace

ChildCommand ChildCommand::shell(std::string line) {
    return {.arguments = {"/bin/sh", "-c", std::move(line)}, .environment = {}};
}

Result<std::unique_ptr<ChildProcess>> ChildProcess::start(const ChildCommand& command) {
    if (command.arguments.empty()) {
        return failure(ErrorKind::invalidInput, "no program to start");
    }
    if (command.stop && command.stop->raised()) {
        return stoppedError();
    }
    SpawnPlan plan;
    plan.program = findProgram(command.arguments.front());
    if (plan.program.empty()) {
        return failure(ErrorKind::unavailable, "there is no program " + command.arguments.front());
    }
    plan.arguments = command.arguments;
    plan.environment = environmentWith(command.environment);

    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) < 0) {
        return std::unexpected(systemError("cannot make a pipe"));
    }
    const UniqueDescriptor childInput(ends[0]);
    UniqueDescriptor input(ends[1]);
    if (::pipe2(ends.data(), O_CLOEXEC) < 0) {
        return std::unexpected(systemError("cannot make a pipe"));
    }
    UniqueDescriptor output(ends[0]);
    const UniqueDescriptor childOutput(ends[1]);
    UniqueDescriptor childErrors;
    UniqueDescriptor errors;
    if (command.errors == ChildErrors::discard) {
        childErrors = UniqueDescriptor(::open("/dev/null", O_WRONLY | O_CLOEXEC));
        if (!childErrors) {
            return std::unexpected(systemError("cannot open /dev/null"));
        }
    } else if (::pipe2(ends.data(), O_CLOEXEC) == 0) {
        errors = UniqueDescriptor(ends[0]);
        childErrors = UniqueDescriptor(ends[1]);
    } else {
        return std::unexpected(systemError("cannot make a pipe"));
    }
    // Only our ends: the child's are those of a program that expects to block.
    if (!makeNonBlocking(input) || !makeNonBlocking(output)) {
        return std::unexpected(systemError("cannot set up a pipe"));
    }
    plan.input = childInput.get();
    plan.output = childOutput.get();
    plan.errors = childErrors.get();
    const auto id = spawn(plan);
    if (!id) {
        return std::unexpected(id.error());
    }
    // The header of this call in glibc 2.36 cannot be used from C++ (no extern "C"); 2.37 has it right.
    UniqueDescriptor process(static_cast<int>(::syscall(SYS_pidfd_open, *id, 0)));
    if (!process) {
        const auto error = systemError("cannot watch a process");
        ::kill(-*id, SIGKILL);
        ::waitpid(*id, nullptr, 0);
        return std::unexpected(error);
    }
    auto log = errors ? std::make_unique<ChildErrorLog>(std::move(errors)) : nullptr;
    return std::unique_ptr<ChildProcess>(new ChildProcess(*id, std::move(process), std::move(input),
                                                          std::move(output), command.stop, std::move(log)));
}

ChildProcess::ChildProcess(pid_t id, UniqueDescriptor process, UniqueDescriptor input,
                           UniqueDescriptor output, std::shared_ptr<const StopSignal> stop,
                           std::unique_ptr<ChildErrorLog> errors)
    : id_(id),
      process_(std::move(process)),
      input_(std::move(input)),
      output_(std::move(output)),
      stop_(std::move(stop)),
      errors_(std::move(errors)) {}

ChildProcess::~ChildProcess() {
    input_.reset();
    output_.reset();
    pollfd ended{.fd = process_.get(), .events = POLLIN, .revents = 0};
    // The child is reaped last: until then the kernel gives its number, and its group's, to nobody else, so
    // that the signals cannot hit a stranger.
    if (!waitFor({&ended, 1}, steady_clock::now() + kOwnEnd)) {
        ::kill(-id_, SIGTERM);
        waitFor({&ended, 1}, steady_clock::now() + kOrderlyEnd);
    }
    ::kill(-id_, SIGKILL);
    while (::waitpid(id_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

// Output is taken meanwhile: a child that answers while it reads would otherwise wait for this process to
// read, and this process for the child.
Result<std::size_t> ChildProcess::writeSome(std::string_view bytes, TimePoint deadline) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        if (!input_) {
            return failure(ErrorKind::closed, "its input has been closed");
        }
        const auto written = writeQuietly(input_.get(), bytes.substr(done));
        if (written >= 0) {
            done += static_cast<std::size_t>(written);
            continue;
        }
        if (errno == EINTR) {
            continue;
        }
        if (errno != EAGAIN) {
            return std::unexpected(errno == EPIPE ? endedError() : systemError("cannot write to it"));
        }
        const bool listen = !outputEnded_ && unread().size() < kUnaskedOutput;
        std::array<pollfd, 3> ends{pollfd{.fd = input_.get(), .events = POLLOUT, .revents = 0},
                                   pollfd{.fd = stopDescriptor(), .events = POLLIN, .revents = 0},
                                   pollfd{.fd = output_.get(), .events = POLLIN, .revents = 0}};
        if (!waitFor(std::span(ends).first(listen ? 3 : 2), deadline)) {
            break;
        }
        if (stopped()) {
            return stoppedError();
        }
        if (listen && ends[2].revents != 0) {
            takeOutput();
        }
        if (ends[0].revents == 0 && steady_clock::now() >= deadline) {
            break;  // the child writes all the time and does not read
        }
    }
    return done;
}

Result<void> ChildProcess::write(std::string_view bytes, TimePoint deadline) {
    const auto done = writeSome(bytes, deadline);
    if (!done) {
        return std::unexpected(done.error());
    }
    if (*done < bytes.size()) {
        return failure(ErrorKind::timeout, "does not read its input");
    }
    return {};
}

void ChildProcess::closeInput() {
    input_.reset();
}

Result<std::string> ChildProcess::readUntil(char delimiter, std::size_t maximum, TimePoint deadline) {
    std::size_t looked = 0;
    for (;;) {
        const auto found = unread().find(delimiter, looked);
        if (found != std::string::npos && found <= maximum) {
            auto line = take(found);
            take(1);
            return line;
        }
        looked = unread().size();
        if (looked > maximum) {
            return failure(ErrorKind::protocol,
                           "wrote more than " + std::to_string(maximum) + " bytes in one piece");
        }
        if (const auto got = fill(deadline); got != Fill::gotBytes) {
            return unfilled(got, "did not answer in time");
        }
    }
}

Result<std::string> ChildProcess::readExactly(std::size_t count, TimePoint deadline) {
    while (unread().size() < count) {
        if (const auto got = fill(deadline); got != Fill::gotBytes) {
            return unfilled(got, "did not answer in time");
        }
    }
    return take(count);
}

Result<std::string> ChildProcess::readToEnd(std::size_t maximum, TimePoint deadline) {
    for (;;) {
        if (unread().size() > maximum) {
            return failure(ErrorKind::protocol, "wrote more than " + std::to_string(maximum) + " bytes");
        }
        const auto got = fill(deadline);
        if (got == Fill::ended) {
            return take(unread().size());
        }
        if (got != Fill::gotBytes) {
            return unfilled(got, "did not finish in time");
        }
    }
}

bool ChildProcess::hasUnreadOutput() {
    return !unread().empty() || fill({}) != Fill::timedOut;
}

Result<void> ChildProcess::finish(TimePoint deadline) {
    const auto how = waitEnded(deadline);
    if (!how) {
        return unfilled(stopped() ? Fill::stopped : Fill::timedOut, "did not end in time");
    }
    return how->si_code == CLD_EXITED && how->si_status == 0 ? Result<void>{}
                                                             : failure(ErrorKind::closed, sentenceOf(*how));
}

std::optional<std::string> ChildProcess::ending(TimePoint deadline) {
    const auto how = waitEnded(deadline);
    return how ? std::optional(sentenceOf(*how)) : std::nullopt;
}

// WNOWAIT leaves the child to be reaped by the destructor.
std::optional<siginfo_t> ChildProcess::waitEnded(TimePoint deadline) {
    std::array<pollfd, 2> ends{pollfd{.fd = process_.get(), .events = POLLIN, .revents = 0},
                               pollfd{.fd = stopDescriptor(), .events = POLLIN, .revents = 0}};
    siginfo_t how{};
    if (!waitFor(ends, deadline) ||
        ::waitid(P_PID, static_cast<id_t>(id_), &how, WEXITED | WNOHANG | WNOWAIT) < 0 || how.si_pid == 0) {
        return std::nullopt;
    }
    return how;
}

/// Waits for output and takes what is there.
ChildProcess::Fill ChildProcess::fill(TimePoint deadline) {
    for (;;) {
        if (outputEnded_) {
            return Fill::ended;
        }
        std::array<pollfd, 2> ends{pollfd{.fd = output_.get(), .events = POLLIN, .revents = 0},
                                   pollfd{.fd = stopDescriptor(), .events = POLLIN, .revents = 0}};
        if (!waitFor(ends, deadline)) {
            return Fill::timedOut;
        }
        if (stopped()) {
            return Fill::stopped;
        }
        const auto outcome = takeOutput();
        if (outcome != Fill::timedOut) {
            return outcome;
        }
    }
}

/// One read(2) into the store; `timedOut` where there was nothing.
ChildProcess::Fill ChildProcess::takeOutput() {
    store_.erase(0, std::exchange(taken_, 0));
    const auto before = store_.size();
    store_.resize(before + kReadChunk);
    ssize_t got = 0;
    do {
        got = ::read(output_.get(), store_.data() + before, kReadChunk);
    } while (got < 0 && errno == EINTR);
    const int code = errno;
    store_.resize(before + static_cast<std::size_t>(std::max<ssize_t>(got, 0)));
    if (got > 0) {
        return Fill::gotBytes;
    }
    if (got < 0 && code == EAGAIN) {
        return Fill::timedOut;
    }
    outputEnded_ = true;
    return Fill::ended;
}

std::string ChildProcess::take(std::size_t count) {
    std::string bytes(unread().substr(0, count));
    taken_ += count;
    return bytes;
}

/// The failure of a read that ended with `how`, which is not `gotBytes`.
std::unexpected<Error> ChildProcess::unfilled(Fill how, const char* late) {
    if (how == Fill::stopped) {
        return stoppedError();
    }
    return how == Fill::ended ? std::unexpected(endedError()) : failure(ErrorKind::timeout, late);
}

// A child's pipes close a moment before it has ended and its status can be read.
Error ChildProcess::endedError() {
    return {ErrorKind::closed, ending(steady_clock::now() + kEndAfterOutput).value_or("closed its output")};
}

}  // namespace tarn
