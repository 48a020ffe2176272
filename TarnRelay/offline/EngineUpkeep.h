#pragma once

#include <chrono>
#include <functional>
#include <memory>

#include "TarnPlatform/base/Clock.h"
#include "TarnRelay/offline/translate/Translator.h"

namespace tarn::relay {

/// Makes an engine small again after its clients have gone. A recogniser consists of about 100 MiB of small
/// blocks, which the C library keeps when they are freed; a translator may keep programs running for each
/// pair. Thread: any; the work itself runs on the workers.
class EngineUpkeep : public std::enable_shared_from_this<EngineUpkeep> {
public:
    /// So long after a recogniser has gone its memory is given back. Several that go together are waited for.
    static constexpr Clock::Duration settlingTime = std::chrono::seconds(1);
    /// After so long without a text, the translator ends its programs for a pair that no stream holds.
    static constexpr Clock::Duration idleTime = std::chrono::minutes(10);

    /// `giveMemoryBack` may block for a while.
    EngineUpkeep(std::shared_ptr<Clock> clock, const asio::any_io_executor& workers,
                 std::shared_ptr<Translator> translator, std::function<void()> giveMemoryBack);

    void recogniserGone();
    /// A stream that translates has begun.
    void translatorNeeded();
    /// Posts the end to the workers; once they have run it, nothing more is done. To be called before they
    /// are joined.
    void stop();

private:
    void endIdleLater(Clock::Duration delay);

    const std::shared_ptr<Clock> clock_;
    const SerialExecutor strand_;
    const std::shared_ptr<Translator> translator_;
    const std::function<void()> giveMemoryBack_;

    // Strand only.
    std::unique_ptr<ScheduledCall> settling_;
    std::unique_ptr<ScheduledCall> idling_;
    bool stopped_ = false;
};

}  // namespace tarn::relay
