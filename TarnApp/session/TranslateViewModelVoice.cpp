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

void TranslateViewModel::propagateLiveParams() {
    for (const auto& session : sessions_) {
        setLiveParams(*session);
    }
}

void TranslateViewModel::setLiveParams(const TranslateSession& session) const {
    const auto set = [this](DubChain& dub) {
        dub.setRate(static_cast<float>(rate_));
        dub.setGain(static_cast<float>(outputGain_));
        dub.setKeepsUp(keepsUp_);
    };
    if (const auto& player = session.player()) {
        set(player->dub());
    }
    if (const auto& micSession = session.micSession()) {
        set(micSession->dub());
    }
}

}  // namespace tarn
