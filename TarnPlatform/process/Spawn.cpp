#include "Spawn.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <pthread.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <boost/asio/use_future.hpp>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <string_view>

#include "TarnPlatform/base/Asio.h"

namespace tarn {
namespace {

// The kernel's "parent died" signal comes when the *thread* that forked ends, so every child is forked by one
// thread that lives as long as the process. Never destroyed: children may be started while the process ends.
asio::thread_pool& spawningThread() {
    static auto* const thread = new asio::thread_pool(1);
    return *thread;
}

std::vector<char*> pointersTo(const std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    pointers.reserve(texts.size() + 1);
    for (const auto& text : texts) {
        pointers.push_back(const_cast<char*>(text.c_str()));
    }
    pointers.push_back(nullptr);
    return pointers;
}

constexpr int kReportDescriptor = 3;
constexpr int kFirstSafeDescriptor = 10;

// The child's side between fork and exec: other threads of the parent may have held any lock, so nothing here
// allocates, locks or logs.
[[noreturn]] void becomeProgram(const SpawnPlan& plan, char* const* arguments, char* const* environment,
                                int report, pid_t parent) {
    const auto fail = [&](int descriptor) {
        const int code = errno;
        [[maybe_unused]] const auto written = ::write(descriptor, &code, sizeof code);
        ::_exit(127);
    };
    ::setpgid(0, 0);
    if (!plan.outlives) {
        ::prctl(PR_SET_PDEATHSIG, SIGKILL);
        if (::getppid() != parent) {
            ::_exit(127);  // it died before the line above
        }
    }
    for (int number = 1; number < NSIG; ++number) {
        if (number != SIGKILL && number != SIGSTOP) {
            ::signal(number, SIG_DFL);
        }
    }
    sigset_t none;
    ::sigemptyset(&none);
    ::pthread_sigmask(SIG_SETMASK, &none, nullptr);

    // Out of the way first: any of them may be one of the numbers that are filled below.
    const int input = ::fcntl(plan.input, F_DUPFD, kFirstSafeDescriptor);
    const int output = ::fcntl(plan.output, F_DUPFD, kFirstSafeDescriptor);
    const int errors = plan.errors < 0 ? -1 : ::fcntl(plan.errors, F_DUPFD, kFirstSafeDescriptor);
    const int safeReport = ::fcntl(report, F_DUPFD, kFirstSafeDescriptor);
    if (input < 0 || output < 0 || safeReport < 0 || (plan.errors >= 0 && errors < 0)) {
        fail(report);
    }
    if (::dup2(input, STDIN_FILENO) < 0 || ::dup2(output, STDOUT_FILENO) < 0 ||
        (errors >= 0 && ::dup2(errors, STDERR_FILENO) < 0) ||
        ::dup3(safeReport, kReportDescriptor, O_CLOEXEC) < 0 ||
        ::close_range(kReportDescriptor + 1, ~0U, 0) < 0) {
        fail(safeReport);
    }
    ::execve(plan.program.c_str(), arguments, environment);
    fail(kReportDescriptor);
    ::_exit(127);
}

Result<pid_t> forkAndExecute(const SpawnPlan& plan) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) < 0) {
        return failure(ErrorKind::system, std::string("cannot make a pipe: ") + std::strerror(errno));
    }
    const UniqueDescriptor reportRead(ends[0]);
    UniqueDescriptor reportWrite(ends[1]);
    const auto arguments = pointersTo(plan.arguments);
    const auto environment = pointersTo(plan.environment);
    const pid_t parent = ::getpid();

    // A handler of ours must not run in the child before its signals are back at their defaults.
    sigset_t all;
    sigset_t before;
    ::sigfillset(&all);
    ::pthread_sigmask(SIG_SETMASK, &all, &before);
    const pid_t child = ::fork();
    if (child == 0) {
        becomeProgram(plan, arguments.data(), environment.data(), reportWrite.get(), parent);
    }
    const int forkError = errno;
    ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
    if (child < 0) {
        return failure(ErrorKind::system, std::string("cannot start a process: ") + std::strerror(forkError));
    }
    ::setpgid(child, child);  // here too: the group must exist before anybody signals it

    reportWrite.reset();
    int code = 0;
    ssize_t got = 0;
    do {
        got = ::read(reportRead.get(), &code, sizeof code);
    } while (got < 0 && errno == EINTR);
    if (got == 0) {
        return child;  // the report closed by itself: the program runs
    }
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    return failure(ErrorKind::unavailable, "cannot run " + plan.program + ": " + std::strerror(code));
}

}  // namespace

Result<pid_t> spawn(const SpawnPlan& plan) {
    auto started = asio::post(spawningThread(), asio::use_future([&plan] { return forkAndExecute(plan); }));
    return started.get();
}

std::string findProgram(const std::string& name) {
    if (name.find('/') != std::string::npos) {
        return name;
    }
    const char* const path = std::getenv("PATH");
    std::string_view folders = path != nullptr ? path : "/usr/local/bin:/usr/bin:/bin";
    while (!name.empty() && !folders.empty()) {
        const auto folder = folders.substr(0, folders.find(':'));
        const auto candidate = (folder.empty() ? "." : std::string(folder)) + "/" + name;
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
        folders.remove_prefix(std::min(folders.size(), folder.size() + 1));
    }
    return {};
}

}  // namespace tarn
