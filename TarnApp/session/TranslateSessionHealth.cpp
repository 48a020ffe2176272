// What keeps a run that goes on from being heard or translated: who notices it, and when it is shown.
#include <algorithm>
#include <boost/asio/post.hpp>
#include <chrono>
#include <cmath>
#include <utility>

#include "TarnApp/localization/DurationText.h"
#include "TarnPlatform/base/Text.h"
#include "TranslateSession.h"

namespace tarn {
namespace {

// A desktop that goes over to another device is without one for a moment.
constexpr std::chrono::milliseconds soundSettles{300};
constexpr std::chrono::seconds gapIsTold{30};
constexpr std::size_t mostOfAComplaint = 300;  // characters

}  // namespace

Task<void> TranslateSession::watchConnection(std::weak_ptr<TranslateSession> weak, Call start,
                                             std::shared_ptr<TarnTranslateStream> stream) {
    for (;;) {
        const auto now = co_await stream->health().next();
        const auto self = weak.lock();
        if (!now || !self || self->lastStart_ != start) {
            co_return;
        }
        self->takeConnection(*now);
    }
}

void TranslateSession::takeConnection(const ConnectionHealth& now) {
    using enum ConnectionHealth::State;
    markFault(SessionFault::connectionStalled, now.state == stalled);
    markFault(SessionFault::connectionSlow, now.state == slow,
              std::to_string(std::lround(now.behindSeconds)));
    markFault(SessionFault::connectionResuming, now.state == resuming);
    markFault(SessionFault::catchingUp, now.state == catchingUp,
              std::to_string(std::max(1L, std::lround(now.behindSeconds))));
    markFault(SessionFault::standIn, now.standIn);
    const bool isRefused = now.state == lost && now.refusedByService;
    markFault(SessionFault::serviceRefuses, isRefused,
              printable(firstCharacters(now.reason, mostOfAComplaint)));
    markFault(SessionFault::connectionLost, now.state == lost && !isRefused);
    showHealth();
}

void TranslateSession::takeGap(const translate::Gap& gap) {
    if (gap.isOfOutage) {
        showGap(gap.seconds);
        return;
    }
    leftOut_ += gap.seconds;
    setFault(SessionFault::soundLeftOut, true, std::to_string(std::lround(leftOut_)));
    gapShown_ = services_.clock->callAfter(services_.main, gapIsTold,
                                           [this] { setFault(SessionFault::soundLeftOut, false); });
}

/// In the place of what was said meanwhile, until the next text comes.
void TranslateSession::showGap(double seconds) {
    untranslated_ += seconds;
    sourceText_ = QStringLiteral("[…]");
    translationText_ = QString::fromStdString(notTranslatedText(untranslated_, AppLanguage::shown()));
    Q_EMIT sourceTextChanged();
    Q_EMIT translationTextChanged();
    Q_EMIT soundMissed(seconds);
}

std::function<void()> TranslateSession::captureEndReceiver(const Run& run) {
    return [main = run.services.main, weak = run.session, call = run.start.call] {
        asio::post(main, [weak, call] {
            const auto self = weak.lock();
            if (self && self->lastStart_ == call) {
                self->stopHearing();
                self->setFault(SessionFault::captureEnded, true);
            }
        });
    };
}

void TranslateSession::watchSound(const Run& run) {
    const bool hearsMicrophone = run.settings.captureSource == CaptureSource::mic;
    auto changed = [main = services_.main, weak = run.session, call = run.start.call](SessionFaults faults) {
        asio::post(main, [weak, call, faults = std::move(faults)]() mutable {
            if (const auto self = weak.lock()) {
                self->takeSoundFaults(std::move(faults), call);
            }
        });
    };
    pipeline_.soundWatch = services_.watchSound(
        {hearsMicrophone, hearsMicrophone ? run.settings.micDeviceUID : std::nullopt}, std::move(changed));
}

void TranslateSession::takeSoundFaults(SessionFaults faults, Call start) {
    if (start != lastStart_) {
        return;
    }
    soundFaults_ = std::move(faults);
    if (!soundFaultsSettle_) {
        soundFaultsSettle_ = services_.clock->callAfter(services_.main, soundSettles, [this] {
            soundFaultsSettle_.reset();
            showHealth();
        });
    }
}

void TranslateSession::setFault(SessionFault fault, bool isThere, std::string value) {
    markFault(fault, isThere, std::move(value));
    showHealth();
}

void TranslateSession::markFault(SessionFault fault, bool isThere, std::string value) {
    if (isThere) {
        transportFaults_.insert_or_assign(fault, std::move(value));
    } else {
        transportFaults_.erase(fault);
    }
}

void TranslateSession::showHealth() {
    SessionFaults now;
    // A service's complaint shows as an error and ends no run.
    const bool goesOn = state_.kind() == ConnectionState::Case::running ||
                        (state_.kind() == ConnectionState::Case::error && !pipeline_.isEmpty());
    if (goesOn && !stopAsked_) {
        now = transportFaults_;
        now.insert(soundFaults_.begin(), soundFaults_.end());
    }
    if (now != health_) {
        health_ = std::move(now);
        Q_EMIT healthChanged();
    }
}

}  // namespace tarn
