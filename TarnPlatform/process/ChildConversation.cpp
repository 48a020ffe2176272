#include "ChildConversation.h"

#include <algorithm>
#include <utility>

namespace tarn {
namespace {

ChildCommand withStop(ChildCommand command, std::shared_ptr<const StopSignal> stop) {
    command.stop = std::move(stop);
    return command;
}

}  // namespace

ChildConversation::ChildConversation(std::string name, ChildCommand command, AnswerLimits limits,
                                     std::shared_ptr<Clock> clock)
    : name_(std::move(name)),
      limits_(limits),
      child_(withStop(std::move(command), stop_)),
      clock_(std::move(clock)) {}

std::optional<Clock::Duration> ChildConversation::endIdle(Clock::Duration limit) {
    // A child that is being asked is not idle, so there is nothing to wait for.
    const std::unique_lock lock(mutex_, std::try_to_lock);
    if (!lock || held_.use_count() > 1) {
        return limit;
    }
    if (!child_.running()) {
        return std::nullopt;
    }
    const auto left = lastAsked_ + limit - clock_->now();
    if (left > Clock::Duration::zero()) {
        return left;
    }
    child_.discard();
    return std::nullopt;
}

Result<void> ChildConversation::ask(const Talk& talk) {
    const std::unique_lock lock(mutex_, std::max(limits_.first, limits_.later));
    if (!lock) {
        return failure(ErrorKind::timeout, name_ + " is busy with others");
    }
    if (stop_->raised()) {
        return failure(ErrorKind::cancelled, name_ + " is being ended");
    }
    auto outcome = askOnce(talk);
    // The child may have died since its last answer, through no fault of this question, which is asked once
    // more.
    if (!outcome && outcome.error().kind == ErrorKind::closed && !child_.pausing()) {
        outcome = askOnce(talk);
    }
    lastAsked_ = clock_->now();
    if (!outcome) {
        outcome.error().description = name_ + " " + outcome.error().description;
    }
    return outcome;
}

Result<void> ChildConversation::askOnce(const Talk& talk) {
    // Only a child that has answered before is looked at. One that ends right after its start is asked all
    // the same, so that the failure says how it ended.
    if (child_.running()) {
        auto& known = **child_.child();
        if (known.hasUnreadOutput() || known.ending({})) {
            child_.discard();
        }
    }
    const auto child = child_.child();
    if (!child) {
        return std::unexpected(child.error());
    }
    const auto limit = child_.fresh() ? limits_.first : limits_.later;
    auto outcome = talk(**child, std::chrono::steady_clock::now() + limit);
    if (outcome) {
        child_.answered();
    } else {
        child_.failed(outcome.error().description);
    }
    return outcome;
}

}  // namespace tarn
