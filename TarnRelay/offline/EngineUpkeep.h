#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "TarnPlatform/concurrency/Clock.h"

namespace tarn::relay {

/// Makes an engine small again after its clients have gone. A recogniser consists of about 100 MiB of small
/// blocks, which the C library keeps when they are freed. Thread: any; what is done runs on the workers.
class EngineUpkeep : public std::enable_shared_from_this<EngineUpkeep> {
public:
    /// After the last of several recognisers that go together.
    static constexpr Clock::Duration settlingTime = std::chrono::seconds(1);

    /// `giveMemoryBack` may take its time.
    EngineUpkeep(std::shared_ptr<Clock> clock, const asio::any_io_executor& workers,
                 std::function<void()> giveMemoryBack);

    void recogniserGone();
    /// Nothing is done any more once the workers have run this. Before they are joined.
    void stop();

private:
    const std::shared_ptr<Clock> clock_;
    const SerialExecutor strand_;
    const std::function<void()> giveMemoryBack_;

    // Strand only.
    std::unique_ptr<ScheduledCall> settling_;
    bool stopped_ = false;
};

}  // namespace tarn::relay
