#include "AppRelaunch.h"

#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <optional>
#include <utility>

#include "TarnPlatform/base/SystemLog.h"
#include "TarnPlatform/base/TaskHandle.h"
#include "TarnPlatform/base/UniqueDescriptor.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"
#include "TarnPlatform/process/Spawn.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds timeToFinish{200};

std::optional<AppRelaunch::Surroundings>& surroundings() {
    static std::optional<AppRelaunch::Surroundings> instance;
    return instance;
}

/// Puts `path` into double quotes for a shell script.
std::string quoted(std::string_view path) {
    std::string text = "\"";
    for (const char character : path) {
        if (std::string_view("\\\"$`").contains(character)) {
            text += '\\';
        }
        text += character;
    }
    return text + '"';
}

std::vector<std::string> ownEnvironment() {
    std::vector<std::string> environment;
    for (char** entry = environ; *entry != nullptr; ++entry) {
        environment.emplace_back(*entry);
    }
    return environment;
}

Result<void> startDetached(const std::vector<std::string>& arguments) {
    const UniqueDescriptor nothing(::open("/dev/null", O_RDWR | O_CLOEXEC));
    const auto started = spawn({.program = arguments.front(),
                                .arguments = arguments,
                                .environment = ownEnvironment(),
                                .input = nothing.get(),
                                .output = nothing.get(),
                                .outlives = true});
    return started ? Result<void>() : std::unexpected(started.error());
}

Task<void> terminateLater(std::shared_ptr<Clock> clock, std::function<void()> terminate) {
    co_await sleepFor(std::move(clock), timeToFinish);
    terminate();
}

}  // namespace

AppRelaunch::Surroundings AppRelaunch::Surroundings::real(SerialExecutor main,
                                                          std::function<void()> terminate) {
    const auto program = SchemeRegistration::runningProgram();
    const auto path = program ? program->string() : std::string();
    return {bundlePathOf(path), path, startDetached, std::move(main), Clock::system(), std::move(terminate)};
}

void AppRelaunch::use(Surroundings parts) {
    surroundings() = std::move(parts);
}

bool AppRelaunch::relaunch() {
    const auto& parts = surroundings();
    if (!parts) {
        return false;
    }
    const bool isBundle = parts->bundlePath.ends_with(".app");
    if (!isBundle && parts->program.empty()) {
        return false;
    }
    const auto started = parts->start({"/bin/sh", "-c",
                                       isBundle ? script(::getpid(), "/usr/bin/open -n", parts->bundlePath)
                                                : script(::getpid(), "exec", parts->program)});
    if (!started) {
        systemLog("[tarn] relaunch failed to spawn: " + started.error().description);
        return false;
    }
    TaskHandle::start(parts->main, terminateLater(parts->clock, parts->terminate));
    return true;
}

std::string AppRelaunch::script(pid_t process, std::string_view opener, std::string_view path) {
    return "while kill -0 " + std::to_string(process) + " 2>/dev/null; do sleep 0.2; done\n" +
           std::string(opener) + " " + quoted(path);
}

std::string AppRelaunch::bundlePathOf(const std::string& executable) {
    const auto folder = std::filesystem::path(executable).parent_path();
    // A checkout far below a folder of such a name is not a bundle.
    for (const auto& candidate : {folder, folder.parent_path(), folder.parent_path().parent_path()}) {
        if (candidate.extension() == ".app") {
            return candidate.string();
        }
    }
    return folder.string();
}

}  // namespace tarn
