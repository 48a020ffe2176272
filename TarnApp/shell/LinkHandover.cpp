#include "LinkHandover.h"

#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <fstream>
#include <iostream>
#include <iterator>

#include "TarnPlatform/base/UniqueDescriptor.h"
#include "TarnPlatform/process/Spawn.h"

namespace tarn::LinkHandover {
namespace {

// Between this process and the one that shows the link are a shell, xdg-open and their parents.
constexpr int mostAncestors = 8;

std::string contents(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

pid_t parentOf(pid_t process) {
    // The line is "PID (name) state parent …", and the name may hold spaces and parentheses.
    const auto status = contents("/proc/" + std::to_string(process) + "/stat");
    const auto name = status.rfind(") ");
    return name == std::string::npos || name + 4 >= status.size() ? 0 : std::atoi(status.c_str() + name + 4);
}

}  // namespace

bool isNeeded(const std::vector<std::string>& links) {
    pid_t process = ::getppid();
    for (int i = 0; i < mostAncestors && process > 1; ++i, process = parentOf(process)) {
        const auto shown = contents("/proc/" + std::to_string(process) + "/cmdline");
        if (std::ranges::any_of(links, [&](const std::string& link) { return shown.contains(link); })) {
            return true;
        }
    }
    return false;
}

Result<void> start(const std::vector<std::string>& links) {
    std::string lines;
    for (const auto& link : links) {
        lines += link + '\n';
    }
    const UniqueDescriptor given(::memfd_create("tarn-links", MFD_CLOEXEC));
    if (!given || ::write(given.get(), lines.data(), lines.size()) != static_cast<ssize_t>(lines.size()) ||
        ::lseek(given.get(), 0, SEEK_SET) != 0) {
        return failure(ErrorKind::system, "a link cannot be handed over");
    }
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    const auto started = spawn({.program = "/proc/self/exe",
                                .arguments = {"tarn", argument},
                                .environment = std::move(environment),
                                .input = given.get(),
                                .output = STDOUT_FILENO,
                                .outlives = true});
    return started ? Result<void>() : std::unexpected(started.error());
}

std::vector<std::string> take() {
    std::vector<std::string> links;
    for (std::string line; std::getline(std::cin, line);) {
        links.push_back(std::move(line));
    }
    return links;
}

}  // namespace tarn::LinkHandover
