#pragma once

#include <functional>
#include <memory>
#include <mutex>
#include <vector>

#include "TarnPlatform/base/Clock.h"

namespace tarn::test {

/// Time that passes when the test says so. Thread: any.
class ManualClock final : public Clock {
public:
    TimePoint now() const override;
    std::unique_ptr<ScheduledCall> callAfter(SerialExecutor executor, Duration delay,
                                             std::function<void()> call) override;

    /// Lets `duration` pass: what falls due is posted to its executor, in order of time.
    void advance(Duration duration);
    std::size_t pendingCalls() const;

private:
    struct Entry;
    class Call;

    mutable std::mutex mutex_;
    TimePoint now_{};
    std::vector<std::weak_ptr<Entry>> entries_;
};

}  // namespace tarn::test
