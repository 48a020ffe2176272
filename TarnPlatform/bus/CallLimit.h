#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <thread>

#include "Glib.h"

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

    GCancellable* cancellable() const { return cancellable_.get(); }
    bool hasPassed() const;

    void promptBegins();
    void promptEnds();  ///< the service has the whole limit again to finish

    /// Ends every wait for a prompt, now and from now on. Thread: any.
    static void endPrompts();

private:
    void watch();
    void giveUpPrompt();

    const std::chrono::milliseconds limit_;
    const Owned<GCancellable> cancellable_{g_cancellable_new()};
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    std::chrono::steady_clock::time_point deadline_;
    bool promptIsUp_ = false;
    bool finished_ = false;
    bool passed_ = false;
    std::thread watcher_;
};

}  // namespace tarn
