#pragma once

#include <sys/types.h>

#include <cstdio>
#include <functional>
#include <string>

namespace tarn::bench {

/// The other side of a measurement, in a process of its own so that its cost is not counted with ours.
/// Make it before the process starts a thread: only the calling thread exists in the child.
class ChildProcess {
public:
    /// Runs `body(out)` in the child, which ends when `body` returns; what is written to `out`, a line at a
    /// time, is read here with `readLine`.
    explicit ChildProcess(const std::function<void(std::FILE* out)>& body);
    /// Ends the child.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// The child's next line, without the newline. Throws when the child has ended.
    std::string readLine();

private:
    pid_t pid_ = -1;
    std::FILE* in_ = nullptr;
};

}  // namespace tarn::bench
