#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "Asio.h"

namespace tarn {

/// A call that will happen later. Destroying it takes the call back; both must happen on the executor that
/// the call was scheduled on, and then no call follows.
class ScheduledCall {
public:
    virtual ~ScheduledCall() = default;
};

/// The one source of time-outs and timers, so that a test can drive them by hand.
/// Thread: any.
class Clock {
public:
    using Duration = std::chrono::nanoseconds;
    using TimePoint = std::chrono::time_point<std::chrono::steady_clock, Duration>;

    virtual ~Clock() = default;
    virtual TimePoint now() const = 0;

    /// Runs `call` on `executor` once `delay` has passed.
    [[nodiscard]] virtual std::unique_ptr<ScheduledCall> callAfter(SerialExecutor executor, Duration delay,
                                                                   std::function<void()> call) = 0;

    /// The process's steady clock.
    static std::shared_ptr<Clock> system();
};

/// Waits for `delay` on the caller's executor. Ends early with an exception when the coroutine is cancelled.
Task<void> sleepFor(std::shared_ptr<Clock> clock, Clock::Duration delay);

}  // namespace tarn
