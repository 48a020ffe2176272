#pragma once

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn::test {

/// A line of the system's table of processes.
struct Process {
    pid_t id = 0;
    char state = '?';
    pid_t parent = 0;
    pid_t group = 0;
};

inline std::vector<Process> allProcesses() {
    std::vector<Process> result;
    for (const auto& entry : std::filesystem::directory_iterator("/proc")) {
        const auto name = entry.path().filename().string();
        if (!std::ranges::all_of(name, [](unsigned char digit) { return std::isdigit(digit) != 0; })) {
            continue;
        }
        std::ifstream file(entry.path() / "stat");
        std::string line;
        std::getline(file, line);
        const auto nameEnd = line.rfind(')');
        if (nameEnd == std::string::npos) {
            continue;  // it has just ended
        }
        Process process{.id = static_cast<pid_t>(std::stoi(name))};
        std::istringstream(line.substr(nameEnd + 1)) >> process.state >> process.parent >> process.group;
        result.push_back(process);
    }
    return result;
}

/// Children of this process, ended and never reaped ones included.
inline std::vector<Process> ownChildren() {
    auto processes = allProcesses();
    std::erase_if(processes, [](const Process& process) { return process.parent != ::getpid(); });
    return processes;
}

/// Waits until a process has ended; false where it still runs after ten seconds.
inline bool ends(const UniqueDescriptor& process) {
    pollfd end{.fd = process.get(), .events = POLLIN, .revents = 0};
    return ::poll(&end, 1, 10000) == 1;
}

inline UniqueDescriptor watch(pid_t id) {
    return UniqueDescriptor(static_cast<int>(::syscall(SYS_pidfd_open, id, 0)));
}

}  // namespace tarn::test
