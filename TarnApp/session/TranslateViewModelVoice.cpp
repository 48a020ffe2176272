// The user's wishes for the translated voice, and how runs learn of them.
#include "TranslateViewModel.h"

namespace tarn {
namespace {

/// The place of the first and the last of several dubs: one loudspeaker has them 12 dB louder than the other.
constexpr float outermostDub = 0.7F;

}  // namespace

void TranslateViewModel::setRate(double value) {
    rate_ = value;
    Q_EMIT rateChanged();
    services_.defaults->set("rate", value);
    propagateLiveParams();
}

void TranslateViewModel::setOutputGain(double value) {
    outputGain_ = value;
    Q_EMIT outputGainChanged();
    services_.defaults->set("outputGain", value);
    propagateLiveParams();
}

void TranslateViewModel::setKeepsUp(bool value) {
    keepsUp_ = value;
    Q_EMIT keepsUpChanged();
    services_.defaults->set("keepUp", value);
    propagateLiveParams();
}

void TranslateViewModel::setOthersTurnedDown(int value) {
    othersTurnedDown_ = OthersTurnedDown::nearest(value);
    Q_EMIT othersTurnedDownChanged();
    services_.defaults->set(OthersTurnedDown::key, othersTurnedDown_);
    propagateLiveParams();
}

void TranslateViewModel::setPlacesDubs(bool value) {
    placesDubs_ = value;
    Q_EMIT placesDubsChanged();
    services_.defaults->set("placeDubs", value);
    placeDubs();
}

void TranslateViewModel::propagateLiveParams() {
    for (const auto& session : sessions_) {
        setLiveParams(session->parts());
    }
}

void TranslateViewModel::setLiveParams(const SessionPipeline& parts) const {
    const auto set = [this](auto& voice) {
        voice.setRate(static_cast<float>(rate_));
        voice.setGain(static_cast<float>(outputGain_));
        voice.dub().setKeepsUp(keepsUp_);
        voice.turnOthersDown(othersTurnedDown_);
    };
    if (parts.player) {
        set(*parts.player);
    }
    if (parts.micSession) {
        set(*parts.micSession);
    }
}

void TranslateViewModel::placeDubs() const {
    std::vector<const SessionPipeline*> runs;
    for (const auto& session : sessions_) {
        if (session->hasComeUp()) {
            runs.push_back(&session->parts());
        }
    }
    const bool apart = placesDubs_ && runs.size() > 1;
    const float step = apart ? 2 * outermostDub / static_cast<float>(runs.size() - 1) : 0;
    float place = apart ? -outermostDub : 0;
    for (const SessionPipeline* const run : runs) {
        if (run->player) {
            run->player->setPlace(place);
        }
        if (run->micSession) {
            run->micSession->setPlace(place);
        }
        place += step;
    }
}

}  // namespace tarn
