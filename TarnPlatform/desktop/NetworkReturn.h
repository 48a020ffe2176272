#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>

#include "TarnPlatform/base/Asio.h"

namespace tarn {

/// Tells when it is worth trying again what the network has failed to do: a route or a link has come, or the
/// machine is awake again. It asks the kernel, and logind on the system's bus; where one of them is not to be
/// had, it tells less.
/// Thread: any. Ownership: one for the program.
class NetworkReturn {
public:
    using Listener = std::shared_ptr<void>;

    NetworkReturn();
    ~NetworkReturn();
    NetworkReturn(const NetworkReturn&) = delete;
    NetworkReturn& operator=(const NetworkReturn&) = delete;

    /// Has `told` called on `executor` each time, as long as the listener lives: often several times within a
    /// second, since a network comes in steps, and each could be the one that was missing. The listener may
    /// outlive this object, and must be released on `executor`, or when nothing runs there any more. The
    /// first call starts the watch, and none waits for it.
    [[nodiscard]] Listener listen(SerialExecutor executor, std::function<void()> told);

private:
    class Watch;
    std::mutex starting_;
    std::unique_ptr<Watch> watch_;
};

/// How long the machine has slept since it was started. What has grown by more than a moment between two
/// calls tells of a sleep also where nobody else does. Costs two reads of clocks. Thread: any.
std::chrono::nanoseconds suspendedTime();

}  // namespace tarn
