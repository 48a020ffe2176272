#pragma once

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "TarnPlatform/base/Clock.h"

namespace tarn::relay {

/// How fast tokens may be made: `burst` at once, and one more for each `pause` that passed since (a token
/// bucket, kept as the time at which it is full again). Thread: one.
class IssueLimit {
public:
    static constexpr int burst = 10;
    static constexpr std::chrono::seconds pause{6};

    explicit IssueLimit(std::shared_ptr<Clock> clock) : clock_(std::move(clock)), fullAt_(clock_->now()) {}

    /// False: too many. Counts only what it allows.
    bool take() {
        const auto now = clock_->now();
        const auto next = std::max(fullAt_, now) + pause;
        if (next - now > burst * pause) {
            return false;
        }
        fullAt_ = next;
        return true;
    }

private:
    const std::shared_ptr<Clock> clock_;
    Clock::TimePoint fullAt_;
};

}  // namespace tarn::relay
