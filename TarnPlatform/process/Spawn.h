#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// What a new process is made of.
struct SpawnPlan {
    std::string program;                   ///< an absolute or relative path, not looked up
    std::vector<std::string> arguments;    ///< the program's own name first
    std::vector<std::string> environment;  ///< "NAME=value", the whole of it
    int input = -1;                        ///< becomes standard input
    int output = -1;                       ///< becomes standard output
    int errors = -1;                       ///< becomes standard error; -1: ours
    bool outlives = false;                 ///< it goes on when this process dies
};

/// Starts a process in a group of its own, with no signal blocked or ignored and no descriptor but its
/// standard ones. It is killed when this process dies, unless it outlives it. Fails with `unavailable` where
/// the program cannot be executed, and with `system` where there can be no more processes. Thread: any.
Result<pid_t> spawn(const SpawnPlan& plan);

/// The file that `name` means: itself where it has a slash, else the first executable of that name in PATH.
/// Empty where there is none. Thread: any.
std::string findProgram(const std::string& name);

}  // namespace tarn
