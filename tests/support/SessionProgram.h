#pragma once

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace tarn::test {

/// A program that runs until it ends or its object goes. It dies with this process; what it prints goes to
/// `log`, its errors to a file of their own where one is named. Not thread-safe.
class SessionProgram {
public:
    /// Looks `command[0]` up in PATH; throws std::runtime_error when it cannot be run.
    SessionProgram(const std::vector<std::string>& command, const std::vector<std::string>& environment,
                   std::filesystem::path log, const std::filesystem::path& errors = {},
                   const std::string& input = "/dev/null");
    SessionProgram(SessionProgram&& other) noexcept;
    SessionProgram& operator=(SessionProgram&& other) noexcept;
    ~SessionProgram();

    bool isRunning();
    pid_t pid() const { return pid_; }  ///< -1 once it is known to have ended

    void signal(int number) const;
    /// Ends it and waits for that: also where it is stopped (SIGSTOP), and with SIGKILL where it does not
    /// obey for 3 s.
    void end(int number);
    void kill();  ///< SIGKILL, and waits

    /// Its exit status, or 128 + signal. Throws with its output when it still runs after `limit`.
    int wait(std::chrono::milliseconds limit = std::chrono::seconds(20));
    /// What it printed so far, standard output and error together.
    std::string output() const;
    const std::string& name() const { return name_; }

private:
    std::optional<int> waitFor(std::chrono::milliseconds limit);

    std::string name_;
    std::filesystem::path log_;
    pid_t pid_ = -1;
    int status_ = 0;
};

}  // namespace tarn::test
