#include "ChildConversation.h"

#include <algorithm>
#include <utility>

namespace tarn {

ChildConversation::ChildConversation(std::string name, ChildCommand command, AnswerLimits limits)
    : name_(std::move(name)), limits_(limits), child_(std::move(command)) {}

Result<void> ChildConversation::ask(const Talk& talk) {
    const std::unique_lock lock(mutex_, std::max(limits_.first, limits_.later));
    if (!lock) {
        return failure(ErrorKind::timeout, name_ + " is busy with others");
    }
    auto outcome = askOnce(talk);
    if (!outcome && outcome.error().kind == ErrorKind::closed && !child_.pausing()) {
        outcome = askOnce(talk);
    }
    if (!outcome) {
        outcome.error().description = name_ + " " + outcome.error().description;
    }
    return outcome;
}

Result<void> ChildConversation::askOnce(const Talk& talk) {
    // Only of a child that has answered before: one that ends right after its start shall say how.
    if (child_.running() && (*child_.child())->hasUnreadOutput()) {
        child_.discard();
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
        child_.discard();
    }
    return outcome;
}

}  // namespace tarn
