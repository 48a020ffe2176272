// How a session stops, and starts again.
#include <algorithm>
#include <chrono>
#include <utility>

#include "TranslateSession.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds reconnectDelay{300};
/// A service tells of speech within this time.
constexpr std::chrono::seconds textIsTold{2};
/// A service whose own pause ends an utterance is taken to wait this long, in milliseconds.
constexpr int leastPause = 1000;
constexpr std::chrono::milliseconds pauseIsNoticed{500};

std::vector<std::byte> silence(std::chrono::milliseconds time) {
    constexpr std::size_t bytesPerMillisecond = 32;
    return std::vector<std::byte>(static_cast<std::size_t>(time.count()) * bytesPerMillisecond);
}

}  // namespace

void TranslateSession::stopHearing() {
    heard_ = 0;
    if (inputLevel_ != 0) {
        inputLevel_ = 0;
        Q_EMIT inputLevelChanged();
    }
}

void TranslateSession::stop() {
    endWait();
    startStopping(++lastCall_);
}

void TranslateSession::startStopping(Call call) {
    stopAsked_ = true;
    stopHearing();
    Stop order{call, SessionPipeline(), false, teardowns_->enter()};
    if (const auto attempt = std::exchange(attempt_, nullptr)) {
        order.parts = attempt->abandon();
    } else if (!isPipelineLeaving_ && !pipeline_.isEmpty()) {
        order.parts = pipeline_;
        order.ownsPipeline = isPipelineLeaving_ = true;
    }
    order.parts.stopHearing();
    TaskHandle::start(services_.main, tearDown(weak_from_this(), std::move(order)));
}

bool TranslateSession::expectsText(const SessionPipeline& parts) const {
    const bool isConnected = services_.lastTextLimit.count() > 0 && parts.serverStream &&
                             parts.serverStream->isAlive() &&
                             !transportFaults_.contains(SessionFault::connectionResuming) &&
                             !transportFaults_.contains(SessionFault::connectionStalled);
    const bool isJustHeard = heardAt_ && services_.clock->now() - *heardAt_ < textIsTold;
    return isConnected && (utterance_.isOpen() || isJustHeard);
}

Task<void> TranslateSession::waitForLastText(std::weak_ptr<TranslateSession> weak, const Stop& stop) {
    std::optional<Gate> lastText;
    std::unique_ptr<ScheduledCall> limit;
    if (const auto self = weak.lock(); self && self->expectsText(stop.parts)) {
        lastText.emplace(self->services_.main);
        self->lastText_ = lastText;
        limit = self->services_.clock->callAfter(self->services_.main, self->services_.lastTextLimit,
                                                 [gate = *lastText]() mutable { gate.open(); });
        // Silence ends an utterance, and nothing is captured any more.
        const auto pause = std::chrono::milliseconds(std::max(self->silenceMs_, leastPause)) + pauseIsNoticed;
        const auto pauseSound = silence(pause);
        *stop.parts.given += pauseSound.size();
        stop.parts.serverStream->queueAudio(pauseSound);
    }
    if (lastText) {
        co_await lastText->passed();
    }
}

void TranslateSession::endWait() {
    if (lastText_) {
        lastText_->open();
        lastText_.reset();
    }
}

Task<void> TranslateSession::tearDown(std::weak_ptr<TranslateSession> weak, Stop stop) {
    if (const auto self = weak.lock(); self && self->isLatest(stop.call)) {
        self->setState(ConnectionState::stopping());
    }
    if (stop.ownsPipeline) {
        co_await SessionPipeline::endCapture(stop.parts);
        co_await waitForLastText(weak, stop);
    }
    co_await SessionPipeline::takeApart(std::move(stop.parts));
    if (stop.turn.before) {
        co_await stop.turn.before->passed();
    }
    const auto self = weak.lock();
    if (self && stop.ownsPipeline) {
        self->finishUtterances();
        self->pipeline_ = SessionPipeline();
        self->isPipelineLeaving_ = false;
    }
    stop.turn.done.open();
    if (self && self->isLatest(stop.call)) {
        self->setState(ConnectionState::idle());
    }
}

void TranslateSession::reconnect(float rate, float gain, Backend backend) {
    if (!state_.isActive() || stopAsked_) {
        return;
    }
    const Start next{++lastCall_, rate, gain, std::move(backend)};
    startStopping(next.call);
    TaskHandle::start(services_.main, startAgain(weak_from_this(), services_.clock, next));
}

Task<void> TranslateSession::startAgain(std::weak_ptr<TranslateSession> weak, std::shared_ptr<Clock> clock,
                                        Start next) {
    co_await sleepFor(std::move(clock), reconnectDelay);
    const auto self = weak.lock();
    if (self && self->isLatest(next.call)) {
        self->start(next.rate, next.gain, std::move(next.backend));
    }
}

}  // namespace tarn
