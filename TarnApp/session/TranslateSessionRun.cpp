// How a session starts, runs and stops.
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <chrono>
#include <utility>

#include "PermissionSettings.h"
#include "SoundErrors.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnPlatform/base/CarryOut.h"
#include "TranslateSession.h"
#include "UtteranceEnds.h"

namespace tarn {
namespace {

/// Seconds of the translated voice that may wait to be played before no more is taken.
constexpr double mostVoiceWaiting = 60;

/// What is louder may be speech.
constexpr float speechLevel = 0.01F;
std::optional<std::string> nonEmpty(const std::string& text) {
    return text.empty() ? std::nullopt : std::optional(text);
}

PipelineFailure failureOf(const Error& error, const std::string& application = {}) {
    return {shownText(error, application), false};
}

Task<Result<void>> startPlayer(std::shared_ptr<AudioPlayer> player, float rate) {
    co_return player->start(rate);
}

Task<std::expected<void, MicSession::MicError>> startMicrophone(
    std::shared_ptr<MicSession> micSession, float rate, bool voiceProcessing,
    std::optional<std::string> preferredDeviceUID) {
    co_return micSession->start(rate, voiceProcessing, preferredDeviceUID);
}

/// Hands captured buffers to the service, while the run is heard. Thread: the capture's own.
std::function<void(const PcmBuffer&)> makeSender(const SessionPipeline& parts, SendAudio send) {
    return [resampler = parts.resampler, isHeard = parts.isHeard,
            send = std::move(send)](const PcmBuffer& buffer) {
        if (auto chunk = resampler->process(buffer); chunk && isHeard->load()) {
            send(std::move(*chunk));
        }
    };
}

std::unexpected<PipelineFailure> abandoned() {
    return std::unexpected(PipelineFailure());
}

}  // namespace

TranslateSession::~TranslateSession() {
    leaveOldRun();
}

void TranslateSession::leaveOldRun() {
    finishUtterances();
    if (const auto attempt = std::exchange(attempt_, nullptr)) {
        teardowns_->begin(attempt->abandon());
    }
    if (!isPipelineLeaving_) {
        teardowns_->begin(std::exchange(pipeline_, SessionPipeline()));
    }
}

void TranslateSession::start(float rate, float gain, Backend backend) {
    if (state_.isActive() && !stopAsked_) {
        return;
    }
    stopAsked_ = false;
    lastStart_ = heard_ = ++lastCall_;
    utterance_ = {};
    heardAt_.reset();
    endWait();
    const Start call{lastCall_, rate, gain, std::move(backend)};
    leaveOldRun();
    transportFaults_.clear();
    leftOut_ = 0;
    untranslated_ = 0;
    gapShown_.reset();
    soundFaults_.clear();
    errorMessage_.clear();
    sourceText_.clear();
    translationText_.clear();
    inputLevel_ = 0;
    state_ = ConnectionState::connecting();
    // Told when all is set, since an observer may call the session.
    Q_EMIT errorMessageChanged();
    Q_EMIT sourceTextChanged();
    Q_EMIT translationTextChanged();
    Q_EMIT inputLevelChanged();
    showHealth();
    Q_EMIT stateChanged();
    if (!isLatest(call.call)) {
        return;
    }
    if (captureSource_ == CaptureSource::mic) {
        TaskHandle::start(services_.main, askForMicrophone(weak_from_this(), call));
    } else if (services_.screenCapture->preflight()) {
        continueStart(call);
    } else if (const auto missing = services_.screenCapture->obstacle()) {
        showError(call.call, missing->description, shownText(*missing));
    } else {
        services_.screenCapture->request();
        setState(ConnectionState::idle());
        if (onScreenRecNeeded) {
            onScreenRecNeeded();
        }
    }
}

Task<void> TranslateSession::askForMicrophone(std::weak_ptr<TranslateSession> weak, Start start) {
    auto self = weak.lock();
    if (!self) {
        co_return;
    }
    auto answer = self->services_.requestMicrophone();
    self.reset();
    const bool granted = co_await std::move(answer);
    self = weak.lock();
    if (!self || !self->isLatest(start.call)) {
        co_return;
    }
    if (granted) {
        self->continueStart(std::move(start));
        co_return;
    }
    const auto missing = self->services_.screenCapture->obstacle();
    self->showError(start.call, missing ? missing->description : "permission denied",
                    missing ? shownText(*missing) : text(LocKey::errMicDenied));
    MicDenialHelp::openSettingsIfNeeded(self->services_.microphoneStatus(), *self->services_.urlOpener);
}

void TranslateSession::continueStart(Start start) {
    const SessionPipeline::Settings settings{
        QwenConfig(nonEmpty(sourceLang_.toStdString()), targetLang_.toStdString(),
                   nonEmpty(voice_.toStdString()), voiceClone_.toStdString(),
                   silenceMs_ >= 1 ? std::optional(silenceMs_) : std::nullopt),
        captureSource_,
        applicationBundleID_.toStdString(),
        nonEmpty(micDeviceUID_.toStdString()),
        voiceProcessing_,
        sourceName()};
    attempt_ = std::make_shared<SessionAttempt>();
    Run wanted{weak_from_this(), std::move(start), settings, services_, attempt_, teardowns_};
    attempt_->task = TaskHandle::start(services_.main, run(std::move(wanted)));
}

Task<void> TranslateSession::run(Run run) {
    // What earlier runs have left, by a stop that is still under way or by failing, goes first.
    co_await SessionTeardowns::settled(run.teardowns);
    const auto& attempt = run.attempt;
    if (attempt->isAbandoned) {
        co_return;
    }
    attempt->parts.sound = asio::make_strand(run.services.workers);
    attempt->parts.isHeard = std::make_shared<std::atomic<bool>>(true);
    PipelineResult<void> built;
    try {
        built = co_await build(run);
    } catch (const std::exception& bug) {
        built = std::unexpected(PipelineFailure{bug.what(), false});
    }
    const auto self = run.session.lock();
    if (!self || attempt->isAbandoned) {
        co_return;
    }
    self->attempt_.reset();
    SessionPipeline parts = std::exchange(attempt->parts, SessionPipeline());
    if (built) {
        self->pipeline_ = std::move(parts);
        self->watchSound(run);
        // What the service has complained of meanwhile stays to be seen.
        const bool hasError = self->state_.kind() == ConnectionState::Case::error;
        self->setState(hasError ? self->state_ : ConnectionState::running());
        co_return;
    }
    run.teardowns->begin(std::move(parts));
    self->stopHearing();
    const PipelineFailure& failure = built.error();
    if (!failure.diagnosis.empty()) {
        run.services.log("[vm] " + self->storageNamespace_ + " does not start: " + failure.diagnosis);
    }
    self->showError(run.start.call, failure.description, failure.description);
    if (failure.meansSignedOut && self->onAuthFailure) {
        self->onAuthFailure();
    }
}

Task<PipelineResult<void>> TranslateSession::build(const Run& run) {
    switch (run.settings.captureSource) {
        case CaptureSource::mic:
            return startMicPipeline(run);
        case CaptureSource::system:
            return startSystemPipeline(run, std::nullopt);
        case CaptureSource::application:
            break;
    }
    return startSystemPipeline(run, run.settings.applicationBundleID);
}

void TranslateSession::tellVoiceMade(const Run& run) {
    if (const auto self = run.session.lock(); self && self->onVoiceMade) {
        self->onVoiceMade(run.attempt->parts);
    }
}

Task<PipelineResult<void>> TranslateSession::startSystemPipeline(const Run& run,
                                                                 std::optional<std::string> bundleID) {
    SessionAttempt& attempt = *run.attempt;
    SessionPipeline& parts = attempt.parts;
    const auto player = run.services.makePlayer();
    parts.player = player;
    player->setGain(run.start.gain);
    tellVoiceMade(run);
    const auto started = co_await carryOut(*parts.sound, startPlayer(player, run.start.rate));
    if (attempt.isAbandoned) {
        co_return abandoned();
    }
    if (!started) {
        co_return std::unexpected(failureOf(started.error()));
    }
    std::shared_ptr<DubChain> dub(player, &player->dub());
    auto send = co_await openTransport(run, std::move(dub));
    if (!send) {
        co_return std::unexpected(send.error());
    }
    parts.resampler = std::make_shared<AudioResampler>();
    parts.sink = std::make_shared<AudioSink>();
    parts.sink->onPCM = makeSender(parts, std::move(*send));
    parts.sink->onLevel = levelReceiver(run);
    parts.sink->onEnd = captureEndReceiver(run);
    auto capture = co_await run.services.startCapture(parts.sink, std::move(bundleID));
    if (attempt.isAbandoned) {
        SessionPipeline late;
        late.stream = capture ? std::move(*capture) : nullptr;
        run.teardowns->begin(std::move(late));
        co_return abandoned();
    }
    if (!capture) {
        co_return std::unexpected(failureOf(capture.error(), run.settings.applicationBundleID));
    }
    parts.stream = std::move(*capture);
    co_return PipelineResult<void>();
}

Task<PipelineResult<void>> TranslateSession::startMicPipeline(const Run& run) {
    SessionPipeline& parts = run.attempt->parts;
    const auto micSession = run.services.makeMicSession();
    parts.micSession = micSession;
    micSession->setGain(run.start.gain);
    tellVoiceMade(run);
    parts.resampler = std::make_shared<AudioResampler>();
    std::shared_ptr<DubChain> dub(micSession, &micSession->dub());
    auto send = co_await openTransport(run, std::move(dub));
    if (!send) {
        co_return std::unexpected(send.error());
    }
    micSession->onPCM = makeSender(parts, std::move(*send));
    micSession->onLevel = levelReceiver(run);
    const SerialExecutor sound = *parts.sound;
    const auto started = co_await carryOut(
        sound,
        startMicrophone(micSession, run.start.rate, run.settings.voiceProcessing, run.settings.micDeviceUID));
    if (!started) {
        co_return std::unexpected(PipelineFailure{shownText(started.error()), false});
    }
    co_return PipelineResult<void>();
}

Task<PipelineResult<SendAudio>> TranslateSession::openTransport(const Run& run,
                                                                std::shared_ptr<DubChain> dub) {
    const QwenConfig& config = run.settings.config;
    auto opened = co_await run.start.backend.client->openTranslateStream(
        config.sourceLang, config.targetLang, config.voice, config.voiceClone, config.silenceMs);
    SessionAttempt& attempt = *run.attempt;
    if (attempt.isAbandoned) {
        SessionPipeline late;
        late.serverStream = opened ? std::move(*opened) : nullptr;
        run.teardowns->begin(std::move(late));
        co_return abandoned();
    }
    if (!opened) {
        const TarnServerError& error = opened.error();
        const bool isSignedOut = error.meansSignedOut();
        co_return std::unexpected(PipelineFailure{
            isSignedOut ? text(LocKey::errSessionExpired) : describe(error), isSignedOut, diagnosis(error)});
    }
    const std::shared_ptr<TarnTranslateStream> stream = std::move(*opened);
    attempt.parts.serverStream = stream;
    const auto given = std::make_shared<std::atomic<std::uint64_t>>(0);
    attempt.parts.given = given;
    if (const auto self = run.session.lock()) {
        self->pairUtterances(run);
    }
    attempt.parts.serverStreamTask = TaskHandle::start(
        run.services.main,
        readEvents(run.session, run.start.call, stream, std::move(dub), run.services.clock));
    TaskHandle::start(run.services.main, watchConnection(run.session, run.start.call, stream));
    co_return [stream, given](std::vector<std::byte> bytes) {
        *given += bytes.size();
        stream->queueAudio(std::move(bytes));
    };
}

Task<void> TranslateSession::readEvents(std::weak_ptr<TranslateSession> weak, Call start,
                                        std::shared_ptr<TarnTranslateStream> stream,
                                        std::shared_ptr<DubChain> dub, std::shared_ptr<Clock> clock) {
    UtteranceEnds utteranceEnds;
    for (;;) {
        auto event = co_await stream->events().next();
        if (!event || std::holds_alternative<translate::Closed>(*event)) {
            co_return;
        }
        if (utteranceEnds.isAt(*event)) {
            dub->endUtterance();
        }
        if (const auto* const audio = std::get_if<translate::TranslatedAudio>(&*event)) {
            dub->enqueue(audio->bytes);
            tellSkipped(weak, start, dub->takeSkippedSeconds());
            const double waiting = dub->holdingSeconds();
            if (waiting > mostVoiceWaiting) {
                // Unread events hold the server back, which would fill the memory otherwise.
                const auto excess = std::chrono::duration<double>(waiting - mostVoiceWaiting);
                co_await sleepFor(clock, std::chrono::duration_cast<Clock::Duration>(excess));
            }
        } else if (const auto self = weak.lock()) {
            self->apply(*event, start);
            self->pair(*event, start);
        }
    }
}

void TranslateSession::tellSkipped(const std::weak_ptr<TranslateSession>& weak, Call start, double seconds) {
    const auto self = weak.lock();
    if (seconds > 0 && self && self->lastStart_ == start) {
        Q_EMIT self->dubSkipped(seconds);
        if (self->pairs_) {
            self->tellUtterances({self->pairs_->skipVoice(seconds, self->soundNow())});
        }
    }
}

void TranslateSession::apply(const TarnTranslateEvent& event, Call start) {
    if (start != lastStart_) {
        return;  // the next run's fields are not this one's any more
    }
    utterance_.note(event);
    if (const auto* const last = std::get_if<translate::TranslatedText>(&event);
        last != nullptr && last->done && !utterance_.isOpen()) {
        endWait();
    }
    if (const auto* const source = std::get_if<translate::SourceText>(&event)) {
        untranslated_ = 0;
        sourceText_ = QString::fromStdString(source->text);
        Q_EMIT sourceTextChanged();
        if (source->done) {
            Q_EMIT sourceFinished(QString(sourceText_));
        }
    } else if (const auto* const translation = std::get_if<translate::TranslatedText>(&event)) {
        untranslated_ = 0;
        translationText_ = QString::fromStdString(translation->text);
        Q_EMIT translationTextChanged();
        if (translation->done) {
            Q_EMIT translationFinished(QString(translationText_));
        }
    } else if (const auto* const gap = std::get_if<translate::Gap>(&event)) {
        takeGap(*gap);
    } else if (!isLatest(start)) {
        return;  // the run is being taken apart: the stop tells where the session stands
    } else if (const auto* const error = std::get_if<translate::Error>(&event)) {
        showError(start, error->message, error->message);
    } else if (std::holds_alternative<translate::Unauthorized>(event)) {
        // Nothing comes of this run any more, so it listens to nobody.
        leaveOldRun();
        stopHearing();
        showError(start, "session expired", text(LocKey::errSessionExpired));
        if (onAuthFailure) {
            onAuthFailure();
        }
    }
}

void TranslateSession::showError(Call call, const std::string& reason, const std::string& message) {
    setState(ConnectionState::error(reason));
    if (isLatest(call)) {  // an observer of the state may have called
        setErrorMessage(QString::fromStdString(message));
    }
}

std::function<void(float)> TranslateSession::levelReceiver(const Run& run) {
    return [main = run.services.main, weak = run.session, call = run.start.call](float level) {
        asio::post(main, [weak, call, level] {
            const auto self = weak.lock();
            if (self && self->heard_ == call) {
                self->inputLevel_ = level;
                if (level >= speechLevel) {
                    self->heardAt_ = self->services_.clock->now();
                }
                Q_EMIT self->inputLevelChanged();
            }
        });
    };
}

}  // namespace tarn
