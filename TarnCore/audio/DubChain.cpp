#include "DubChain.h"

#include <cmath>
#include <utility>

#include "ReceivedAudio.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr double mostWaiting = 15;  // seconds
constexpr double keptWaiting = 10;
constexpr std::chrono::seconds patience{2};

}  // namespace

// Of a number and NaN, fmin and fmax give the number.
float clampedRate(float rate) {
    return std::fmax(std::fmin(rate, 2.0F), 0.5F);
}

float clampedGain(float gain) {
    const float limited = std::fmin(gain, 16.0F);
    return limited >= 0.0F ? limited : 0.0F;
}

float globalGain(float gain) {
    return gain < 0.001F ? -96.0F : 20.0F * std::log10(gain);
}

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
    auto buffer = decodeReceivedAudio(bytes);
    if (!buffer) {
        return;
    }
    if (const auto played = node_->counters().framesPlayed; played != played_ || node_->queuedFrames() == 0) {
        played_ = played;
        playedAt_ = std::chrono::steady_clock::now();
    }
    node_->scheduleBuffer(std::move(*buffer));
    dropWhatNobodyPlays();
}

void DubChain::dropWhatNobodyPlays() {
    if (queuedSeconds() <= mostWaiting || std::chrono::steady_clock::now() - playedAt_ < patience) {
        return;
    }
    node_->keepNewest(static_cast<std::uint64_t>(keptWaiting * playbackFormat().sampleRate));
    if (!std::exchange(saidDropped_, true)) {
        logLine("[dub] the output plays nothing: speech that has waited too long is dropped");
    }
}

double DubChain::queuedSeconds() const {
    return static_cast<double>(node_->queuedFrames()) / playbackFormat().sampleRate;
}

void DubChain::setRate(float rate) {
    timePitch_->setRate(clampedRate(rate));
}

void DubChain::setGain(float gain) {
    gain_ = clampedGain(gain);
    gainNode_->setGlobalGain(tarn::globalGain(gain_));
}

}  // namespace tarn
