#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TarnPlatform/process/ChildProcess.h"
#include "support/Program.h"

namespace tarn::test {

inline ChildProcess::TimePoint soon() {
    return std::chrono::steady_clock::now() + std::chrono::seconds(20);
}

/// Starts the real program with its tokens under `state`.
inline std::unique_ptr<ChildProcess> startRelay(const TemporaryFolder& state,
                                                std::vector<std::string> arguments, std::string key = {}) {
    ChildCommand command;
    command.arguments = std::move(arguments);
    command.arguments.insert(command.arguments.begin(), TARN_BIN_DIR "/tarn-relay");
    command.environment.emplace_back("XDG_STATE_HOME", state.path());
    command.environment.emplace_back("TARN_SERVICE_KEY", std::move(key));
    auto started = ChildProcess::start(command);
    return started ? std::move(*started) : nullptr;
}

/// What a run of the program that ends by itself printed, and how it ended ("ended with status 0").
struct RelayRun {
    std::string output;
    std::string ending;
};

inline RelayRun runRelay(const TemporaryFolder& state, std::vector<std::string> arguments) {
    const auto child = startRelay(state, std::move(arguments));
    if (!child) {
        return {};
    }
    RelayRun run;
    run.output = child->readToEnd(1 << 20, soon()).value_or("(no output)");
    run.ending = child->ending(soon()).value_or("(still running)");
    return run;
}

}  // namespace tarn::test
