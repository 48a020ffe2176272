#include "Reopening.h"

#include <algorithm>
#include <boost/asio/post.hpp>
#include <utility>

#include "TarnPlatform/base/TaskHandle.h"

namespace tarn {

Reopening::Reopening(ResumeParts parts, SerialExecutor executor)
    : parts_(std::move(parts)),
      executor_(std::move(executor)),
      bell_(executor_, asio::steady_timer::time_point::max()) {}

Task<std::optional<Reopening::Found>> Reopening::next() {
    lostAt_ = lostAt_.value_or(parts_.clock->now());
    while (!isStopped_) {
        co_await pause(delay());
        if (isStopped_ || isTooLate()) {
            break;
        }
        auto opened = co_await attempt(parts_.open);
        if (opened) {
            co_return Found{std::move(*opened), false};
        }
        if (opened.error().meansSignedOut()) {
            isSignedOut_ = true;
            break;
        }
        if (!parts_.openStandIn || parts_.clock->now() - *lostAt_ < standInAfter) {
            continue;
        }
        auto standIn = co_await attempt(parts_.openStandIn);
        if (standIn) {
            co_return Found{std::move(*standIn), true};
        }
    }
    co_return std::nullopt;
}

Task<Reopening::Stream> Reopening::serviceAgain() {
    while (!isStopped_ && !isSignedOut_) {
        co_await pause(backOff_.next());
        auto opened = co_await attempt(parts_.open);
        if (opened) {
            co_return std::move(*opened);
        }
        isSignedOut_ = opened.error().meansSignedOut();
    }
    co_return nullptr;
}

/// Until the next attempt; sooner where there is something else to be done by then.
Clock::Duration Reopening::delay() {
    Clock::Duration delay = backOff_.next();
    const auto since = parts_.clock->now() - *lostAt_;
    if (parts_.openStandIn && since < standInAfter) {
        delay = std::min<Clock::Duration>(delay, standInAfter - since);
    }
    if (parts_.giveUpAfter) {
        delay = std::min(delay, std::max(*parts_.giveUpAfter - since, Clock::Duration(0)));
    }
    return delay;
}

bool Reopening::isTooLate() const {
    return parts_.giveUpAfter && parts_.clock->now() - *lostAt_ >= *parts_.giveUpAfter;
}

Task<void> Reopening::pause(Clock::Duration delay) {
    const auto start = parts_.clock->now();
    // A network that comes and goes many times a second must not be answered by as many attempts.
    const Clock::Duration least = BackOff::steps.front();
    const auto earliest = triedAt_ ? *triedAt_ + least : start;
    bool isOver = false;
    while (!isStopped_ && !isOver) {
        const auto now = parts_.clock->now();
        const auto end = isHurried_ ? std::min(earliest, start + delay) : start + delay;
        if (now >= end) {
            break;
        }
        const auto call = parts_.clock->callAfter(executor_, end - now, [this, &isOver] {
            isOver = true;
            bell_.cancel();
        });
        co_await bell_.async_wait(asValue);
    }
    isHurried_ = false;
    triedAt_ = parts_.clock->now();
}

Task<void> Reopening::carry(ResumeParts::Open open, std::shared_ptr<Attempt> attempt,
                            SerialExecutor executor) {
    auto opening = open();
    auto result = co_await std::move(opening);
    asio::post(executor, [attempt, result = std::move(result)]() mutable {
        if (!attempt->isAbandoned) {
            attempt->result = std::move(result);
            attempt->bell.cancel();
        }
    });
}

Task<ServerResult<Reopening::Stream>> Reopening::attempt(ResumeParts::Open open) {
    /// Ends the attempt, also where the caller is cancelled.
    struct Running {
        ~Running() {
            attempt->isAbandoned = true;
            handle.cancel();
        }
        std::shared_ptr<Attempt> attempt;
        TaskHandle handle;
    };
    const auto attempt = std::make_shared<Attempt>(executor_);
    attempt_ = attempt;
    const Running running{attempt,
                          TaskHandle::start(parts_.main, carry(std::move(open), attempt, executor_))};
    bool isLate = false;
    const auto limit = parts_.clock->callAfter(executor_, attemptLimit, [attempt, &isLate] {
        isLate = true;
        attempt->bell.cancel();
    });
    while (!attempt->result && !isLate && !isStopped_) {
        co_await attempt->bell.async_wait(asValue);
    }
    if (attempt->result) {
        co_return std::move(*attempt->result);
    }
    co_return std::unexpected(
        TarnServerError::transport({ErrorKind::timeout, "there was no connection in time", 0}));
}

void Reopening::prove() {
    backOff_.reset();
    lostAt_.reset();
    refusals_ = 0;
}

void Reopening::hurry() {
    isHurried_ = true;
    backOff_.reset();
    bell_.cancel();
}

void Reopening::stop() {
    isStopped_ = true;
    bell_.cancel();
    if (attempt_) {
        attempt_->bell.cancel();
    }
}

}  // namespace tarn
