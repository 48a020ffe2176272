#include "DubChain.h"

#include <utility>

#include "PlaybackControls.h"
#include "ReceivedAudio.h"

namespace tarn {

void DubChain::connect(AudioEngine& engine, float rate) {
    engine.attach(node_);
    engine.attach(timePitch_);
    engine.attach(gainNode_);
    const AudioFormat format = playbackFormat();
    engine.connect(*node_, *timePitch_, format);
    engine.connect(*timePitch_, *gainNode_, format);
    engine.connect(*gainNode_, engine.mainMixerNode(), format);
    setRate(rate);
    gainNode_->setGlobalGain(tarn::globalGain(gain_));
}

void DubChain::enqueue(std::span<const std::byte> bytes) {
    if (auto buffer = decodeReceivedAudio(bytes)) {
        node_->scheduleBuffer(std::move(*buffer));
    }
}

void DubChain::setRate(float rate) {
    timePitch_->setRate(clampedRate(rate));
}

void DubChain::setGain(float gain) {
    gain_ = clampedGain(gain);
    gainNode_->setGlobalGain(tarn::globalGain(gain_));
}

}  // namespace tarn
