#include "DuckKeeper.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <utility>
#include <vector>

#include "TarnPlatform/process/Spawn.h"

namespace tarn {
namespace {

std::string besideThisProgram() {
    std::error_code error;
    const auto folder = std::filesystem::read_symlink("/proc/self/exe", error).parent_path();
    for (const auto& candidate : {folder / "tarn-unduck", folder / "../libexec/tarn/tarn-unduck"}) {
        if (::access(candidate.c_str(), X_OK) == 0) {
            return candidate;
        }
    }
    return "tarn-unduck";
}

std::vector<std::string> ownEnvironment() {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    return environment;
}

}  // namespace

Result<std::unique_ptr<DuckKeeper>> DuckKeeper::make(const std::string& program) {
    int ends[2];
    if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) < 0) {
        return failure(ErrorKind::system, std::string("cannot make a socket pair: ") + std::strerror(errno));
    }
    UniqueDescriptor ours(ends[0]);
    const UniqueDescriptor theirs(ends[1]);
    const UniqueDescriptor nowhere(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    SpawnPlan plan;
    plan.program = program.empty() ? besideThisProgram() : program;
    plan.arguments = {"tarn-unduck"};
    plan.environment = ownEnvironment();
    plan.input = theirs.get();
    plan.output = nowhere.get();
    plan.outlives = true;
    const auto process = spawn(plan);
    if (!process) {
        return std::unexpected(process.error());
    }
    return std::unique_ptr<DuckKeeper>(new DuckKeeper(std::move(ours), *process));
}

DuckKeeper::DuckKeeper(UniqueDescriptor line, pid_t process) : line_(std::move(line)), process_(process) {}

DuckKeeper::~DuckKeeper() {
    line_.reset();
    while (::waitpid(process_, nullptr, 0) < 0 && errno == EINTR) {
    }
}

bool DuckKeeper::down(const std::string& serial) {
    return say(serial + "\n");
}

void DuckKeeper::allUp() {
    say("up\n");
}

bool DuckKeeper::say(const std::string& text) {
    // A line this short is taken whole or not at all.
    return ::send(line_.get(), text.data(), text.size(), MSG_NOSIGNAL | MSG_DONTWAIT) ==
           static_cast<ssize_t>(text.size());
}

}  // namespace tarn
