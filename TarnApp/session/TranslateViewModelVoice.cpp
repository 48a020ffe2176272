// The user's wishes for the translated voice, and how runs learn of them.
#include "TranslateViewModel.h"

namespace tarn {

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

}  // namespace tarn
