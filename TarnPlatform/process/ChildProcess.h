#pragma once

#include <sys/types.h>

#include <chrono>
#include <csignal>
#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "ChildErrorLog.h"
#include "StopSignal.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/UniqueDescriptor.h"

namespace tarn {

/// Where a child's standard error goes.
enum class ChildErrors {
    log,      ///< to the log, line by line
    discard,  ///< nowhere
};

/// What to start.
struct ChildCommand {
    std::vector<std::string> arguments;  ///< the program (a path, or a name looked up in PATH) first
    std::vector<std::pair<std::string, std::string>> environment;  ///< set on top of our own environment
    ChildErrors errors = ChildErrors::discard;
    std::shared_ptr<const StopSignal> stop = nullptr;  ///< ends what waits for the child; null: nothing does

    /// A command line for the shell.
    static ChildCommand shell(std::string line);
};

/// A program running beside us, spoken to over its standard input and read from its standard output.
///
/// It has a process group of its own and inherits no descriptor but the three standard ones. When this
/// process dies, in whatever way, the child is killed, and what it has started itself reads the end of its
/// input. No call waits past its deadline, whatever the child does; a deadline that has passed means one look
/// without waiting. What the child writes is kept until it is asked for; while the store is full the child is
/// left waiting, so that memory stays bounded.
///
/// Failures: `closed` the child has ended or closed its end; `timeout` the deadline passed; `protocol` more
/// output than the caller allows; `cancelled` the command's stop signal was raised. After any of them the
/// object is only good for destruction, except that a read which timed out may be repeated.
///
/// Thread: one at a time; different children on different threads.
class ChildProcess {
public:
    using TimePoint = std::chrono::steady_clock::time_point;

    /// Fails with `unavailable` where the program cannot be started, with `cancelled` after the stop signal.
    static Result<std::unique_ptr<ChildProcess>> start(const ChildCommand& command);

    /// Closes both pipes, gives the child a moment to end by itself, then ends its whole group (SIGTERM, then
    /// SIGKILL), and reaps it. Takes less than half a second with the worst of children.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    /// Gives all of `bytes` to the child.
    Result<void> write(std::string_view bytes, TimePoint deadline);

    /// Gives the child as much of `bytes` as it takes before the deadline, and says how much that was; a
    /// child that takes nothing is not a failure here.
    Result<std::size_t> writeSome(std::string_view bytes, TimePoint deadline);

    /// Nothing more will be written: the child reads the end of its input.
    void closeInput();

    /// The output up to `delimiter`, which is taken and not returned. Fails with `protocol` where it has not
    /// come within `maximum` bytes.
    Result<std::string> readUntil(char delimiter, std::size_t maximum, TimePoint deadline);

    /// The next `count` bytes of output.
    Result<std::string> readExactly(std::size_t count, TimePoint deadline);

    /// Everything up to the end of the output, `maximum` bytes at most.
    Result<std::string> readToEnd(std::size_t maximum, TimePoint deadline);

    /// True where the child has written something that nobody has read, or has ended.
    bool hasUnreadOutput();

    /// Waits for the child to end by itself, and well: fails with `closed` for any status but 0.
    Result<void> finish(TimePoint deadline);

    /// How the child ended, as the tail of a sentence ("ended with status 3"); waits for the end until
    /// `deadline`. Empty where it still runs.
    std::optional<std::string> ending(TimePoint deadline);

    /// The process, and the group, of the child.
    pid_t id() const { return id_; }

private:
    enum class Fill { gotBytes, ended, timedOut, stopped };

    ChildProcess(pid_t id, UniqueDescriptor process, UniqueDescriptor input, UniqueDescriptor output,
                 std::shared_ptr<const StopSignal> stop, std::unique_ptr<ChildErrorLog> errors);
    int stopDescriptor() const { return stop_ ? stop_->descriptor() : -1; }
    bool stopped() const { return stop_ && stop_->raised(); }
    Fill fill(TimePoint deadline);
    Fill takeOutput();
    std::string_view unread() const { return std::string_view(store_).substr(taken_); }
    std::string take(std::size_t count);
    std::optional<siginfo_t> waitEnded(TimePoint deadline);
    std::unexpected<Error> unfilled(Fill how, const char* late);
    Error endedError();

    pid_t id_;
    UniqueDescriptor process_;  ///< readable once the child has ended
    UniqueDescriptor input_;
    UniqueDescriptor output_;
    const std::shared_ptr<const StopSignal> stop_;
    const std::unique_ptr<ChildErrorLog> errors_;  ///< null: nobody reads them
    std::string store_;                            ///< output that has arrived
    std::size_t taken_ = 0;                        ///< of the store, read by the owner
    bool outputEnded_ = false;
};

}  // namespace tarn
