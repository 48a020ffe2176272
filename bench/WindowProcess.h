#pragma once

#include <sys/types.h>

#include <map>
#include <string>
#include <vector>

namespace tarn::bench {

/// A program with a window, in a process of its own, watched from outside: the program knows nothing of it.
/// Killed with its object. Needs a display.
class WindowProcess {
public:
    /// Starts the program with the environment of this process and `variables` on top.
    WindowProcess(const std::vector<std::string>& arguments,
                  const std::map<std::string, std::string>& variables);
    ~WindowProcess();
    WindowProcess(const WindowProcess&) = delete;
    WindowProcess& operator=(const WindowProcess&) = delete;

    /// Seconds from the start to the moment when the toolkit says that its first frame is done. Throws after
    /// 20 s.
    double firstFrame();

    pid_t id() const { return pid_; }
    double proportionalMebibytes() const;  ///< of memory, pages that others share counted in part
    double processorSeconds() const;       ///< used so far
    long wakeUps() const;                  ///< voluntary context switches of all threads so far

private:
    pid_t pid_ = -1;
    int log_ = -1;
    double started_ = 0;
};

/// Folders of settings for a user who is past the first steps, with `settings` (JSON members) on top.
std::map<std::string, std::string> freshUser(const std::string& folder, const std::string& settings = "");

}  // namespace tarn::bench
