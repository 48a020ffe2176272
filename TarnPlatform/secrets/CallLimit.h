#pragma once

#include <gio/gio.h>

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

namespace tarn {

/// Cancels a blocking call that has run for longer than its limit. The time between `promptBegins` and
/// `promptEnds` is not counted: the call then waits for the user and not for the service. Ownership: on the
/// stack of the caller, who hands `cancellable()` to the call.
class CallLimit {
public:
    explicit CallLimit(std::chrono::milliseconds limit);
    /// Waits for the watching thread, which ends at once.
    ~CallLimit();
    CallLimit(const CallLimit&) = delete;
    CallLimit& operator=(const CallLimit&) = delete;

    GCancellable* cancellable() const { return cancellable_; }
    bool hasPassed() const;

    void promptBegins();
    /// Whoever waits for a prompt waits no more, now and from now on. Thread: any.
    static void endPrompts();

    void promptEnds();  ///< the service has the whole limit again to finish

private:
    void watch();
    void giveUpPrompt();

    const std::chrono::milliseconds limit_;
    GCancellable* const cancellable_;
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::chrono::steady_clock::time_point deadline_;
    bool promptIsUp_ = false;
    bool finished_ = false;
    bool passed_ = false;
    std::thread watcher_;
};

}  // namespace tarn
