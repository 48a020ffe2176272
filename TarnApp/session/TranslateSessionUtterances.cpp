// What a session tells of finished utterances.
#include <chrono>
#include <utility>

#include "TarnApp/localization/LocKey.h"
#include "TranslateSession.h"

namespace tarn {
namespace {

constexpr std::uint64_t bytesPerMillisecond = 32;

}  // namespace

std::string TranslateSession::sourceName() const {
    switch (captureSource_) {
        case CaptureSource::mic:
            return text(LocKey::sourceMic);
        case CaptureSource::system:
            return text(LocKey::sourceSystem);
        case CaptureSource::application:
            break;
    }
    return (applicationName_.isEmpty() ? applicationBundleID_ : applicationName_).toStdString();
}

/// Called when a run's stream is open.
void TranslateSession::pairUtterances(const Run& run) {
    if (run.start.call != lastStart_) {
        return;
    }
    const SessionPipeline::Settings& settings = run.settings;
    Utterance frame;
    frame.sourceName = settings.sourceName;
    frame.sourceLang = settings.config.sourceLang.value_or("");
    frame.targetLang = settings.config.targetLang;
    pairs_.emplace(std::move(frame));
    given_ = run.attempt->parts.given;
}

UtterancePairs::Now TranslateSession::soundNow() const {
    using std::chrono::milliseconds;
    const auto time = std::chrono::floor<milliseconds>(std::chrono::system_clock::now());
    return {milliseconds(static_cast<std::int64_t>(given_->load() / bytesPerMillisecond)), time};
}

void TranslateSession::pair(const TarnTranslateEvent& event, Call start) {
    if (start == lastStart_ && pairs_) {
        tellUtterances(pairs_->take(event, soundNow()));
    }
}

void TranslateSession::finishUtterances() {
    if (auto pairs = std::exchange(pairs_, std::nullopt)) {
        tellUtterances(pairs->finish());
    }
}

void TranslateSession::tellUtterances(const UtterancePairs::Finished& utterances) {
    for (const Utterance& utterance : utterances) {
        Q_EMIT utteranceFinished(utterance);
    }
}

}  // namespace tarn
