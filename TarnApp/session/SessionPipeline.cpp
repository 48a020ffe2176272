#include "SessionPipeline.h"

#include <utility>

#include "TarnPlatform/base/CarryOut.h"
#include "TarnPlatform/base/EventQueue.h"

namespace tarn {
namespace {

Task<void> stopSound(std::shared_ptr<AudioPlayer> player, std::shared_ptr<MicSession> micSession) {
    if (player) {
        player->stop();
    }
    if (micSession) {
        micSession->stop();
    }
    co_return;
}

Task<void> stopCapture(std::shared_ptr<CaptureStream> stream) {
    const EventQueue<Result<void>> answer;
    stream->stopCapture([answer](Result<void> stopped) { answer.push(std::move(stopped)); });
    co_await answer.next();
}

}  // namespace

bool SessionPipeline::isEmpty() const {
    return !player && !sink && !stream && !micSession && !resampler && !serverStream;
}

void SessionPipeline::stopHearing() const {
    if (isHeard) {
        isHeard->store(false);
    }
}

Task<void> SessionPipeline::endCapture(SessionPipeline& parts) {
    if (const auto stream = std::exchange(parts.stream, nullptr)) {
        co_await stopCapture(stream);
    }
}

Task<void> SessionPipeline::takeApart(SessionPipeline parts) {
    co_await endCapture(parts);
    if (parts.serverStream) {
        co_await parts.serverStream->close();
    }
    if (parts.sound) {
        co_await carryOut(*parts.sound, stopSound(parts.player, parts.micSession));
    }
    parts.serverStreamTask.cancel();
}

SessionPipeline SessionAttempt::abandon() {
    isAbandoned = true;
    task.cancel();
    return std::exchange(parts, SessionPipeline());
}

SessionTeardowns::Turn SessionTeardowns::enter() {
    Turn turn{std::move(last_), Gate(main_)};
    last_ = turn.done;
    return turn;
}

void SessionTeardowns::begin(SessionPipeline parts) {
    if (!parts.isEmpty()) {
        TaskHandle::start(main_, carryThrough(std::move(parts), enter()));
    }
}

Task<void> SessionTeardowns::carryThrough(SessionPipeline parts, Turn turn) {
    co_await SessionPipeline::takeApart(std::move(parts));
    if (turn.before) {
        co_await turn.before->passed();
    }
    turn.done.open();
}

Task<void> SessionTeardowns::settled(std::shared_ptr<const SessionTeardowns> self) {
    while (self->last_ && !self->last_->isOpen()) {
        const Gate last = *self->last_;
        co_await last.passed();
    }
}

}  // namespace tarn
