#pragma once

#include <chrono>
#include <memory>
#include <string>
#include <utility>

#include "ChildProcess.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// A child process that is started when it is first needed and again after it has failed.
///
/// Starts are paced: the first restart comes at once, so that a child which stumbles costs one answer, but
/// after two starts in a row that led to no answer there is one start a second at most, so that a child which
/// always dies does not keep the machine busy.
///
/// Thread: one at a time.
class KeptChild {
public:
    explicit KeptChild(ChildCommand command) : command_(std::move(command)) {}

    /// The running child, or a new one. Fails with `unavailable` where none can be started, or not yet (see
    /// `pausing`). Valid until `discard` or the next failure of this call.
    Result<ChildProcess*> child();

    /// The child has done its work at least once: it may be restarted freely.
    void answered();

    /// Ends the child; the next `child` starts another.
    void discard() { child_.reset(); }

    /// Ends the child, for a reason (the tail of a sentence) that is told while starts are being paced.
    void failed(std::string why) {
        lastFailure_ = std::move(why);
        discard();
    }

    /// True where there is a child, though it may have ended by now.
    bool running() const { return child_ != nullptr; }

    /// True where a start would come too soon after the last ones.
    bool pausing() const;

    /// True for a child that has not answered yet: it may still be loading what it needs.
    bool fresh() const { return fruitlessStarts_ > 0; }

private:
    ChildCommand command_;
    std::unique_ptr<ChildProcess> child_;
    int fruitlessStarts_ = 0;  ///< in a row, since the last answer
    ChildProcess::TimePoint lastStart_;
    std::string lastFailure_;
};

}  // namespace tarn
