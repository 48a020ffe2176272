#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

#include "KeptChild.h"
#include "TarnPlatform/base/Clock.h"

namespace tarn {

/// How long a child may take.
struct AnswerLimits {
    std::chrono::milliseconds first;  ///< for the first answer after a start, loading included
    std::chrono::milliseconds later;  ///< for every other one
};

/// Questions and answers with one long-lived child, for many callers: one question at a time, each to its
/// end.
///
/// A child that has died is started again and asked once more within the same call; one that does not answer
/// in time, or answers nonsense, is ended at once and costs that call. Output that nobody asked for counts as
/// nonsense: with it in the pipe, answers would no longer belong to their questions. So does a child whose
/// process has ended while something that it has started holds its pipes open.
///
/// Thread: any; `ask` blocks.
class ChildConversation {
public:
    /// `name`: the child's name in descriptions of errors ("the translator command"). `clock`: measures how
    /// long it is idle.
    ChildConversation(std::string name, ChildCommand command, AnswerLimits limits,
                      std::shared_ptr<Clock> clock = Clock::system());

    /// Writes a question and reads its answer, all before the deadline. Its failure is the child's failure.
    using Talk = std::function<Result<void>(ChildProcess& child, ChildProcess::TimePoint deadline)>;

    /// Runs `talk` with the child. Takes, at worst, twice the first limit (a child that dies late and whose
    /// successor hangs), and the first limit more where other callers are before this one.
    Result<void> ask(const Talk& talk);

    /// Keeps the child from being idle while the result lives.
    std::shared_ptr<const void> hold() const { return held_; }

    /// Ends a child that nobody holds and that was asked nothing for `limit`. How long until it is worth
    /// another try; nothing where no child is left. Takes half a second at most.
    std::optional<Clock::Duration> endIdle(Clock::Duration limit);

    /// Ends the child, if it is being asked, and makes calls under way and later ones fail. Does not wait.
    void stop() { stop_->raise(); }

private:
    Result<void> askOnce(const Talk& talk);

    const std::string name_;
    const AnswerLimits limits_;
    const std::shared_ptr<StopSignal> stop_ = std::make_shared<StopSignal>();
    std::timed_mutex mutex_;  ///< held for a whole question and its answer
    KeptChild child_;
    const std::shared_ptr<Clock> clock_;
    Clock::TimePoint lastAsked_{};
    const std::shared_ptr<const char> held_ = std::make_shared<const char>();
};

}  // namespace tarn
