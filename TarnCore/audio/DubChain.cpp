#include "DubChain.h"

#include <algorithm>
#include <cmath>
#include <utility>

#include "ReceivedAudio.h"
#include "ServiceAudio.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr double mostWaiting = 15;  // seconds
constexpr double keptWaiting = 10;
constexpr std::chrono::seconds patience{2};

double seconds(std::uint64_t frames) {
    return static_cast<double>(frames) / qwenOutputSampleRate;
}

}  // namespace

// Of a number and NaN, fmin gives the number.
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
    engine.attach(speed_);
    engine.attach(gainNode_);
    const AudioFormat format = playbackFormat();
    engine.connect(*node_, *timePitch_, format);
    engine.connect(*timePitch_, *speed_, format);
    engine.connect(*speed_, *gainNode_, format);
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
    open_ += buffer->frameLength();
    speed_->setNewestUtterance(open_);
    node_->scheduleBuffer(std::move(*buffer));
    skipWhatIsLate();
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

void DubChain::endUtterance() {
    node_->endGroup();
    open_ = 0;
}

void DubChain::setKeepsUp(bool value) {
    speed_->setKeepsUp(value);
    skipWhatIsLate();
}

void DubChain::skipWhatIsLate() {
    if (keepsUp()) {
        skipped_ +=
            node_->skipOldest(static_cast<std::uint64_t>(DubPace::mostWaiting * qwenOutputSampleRate));
    }
}

double DubChain::queuedSeconds() const {
    return seconds(node_->queuedFrames());
}

double DubChain::holdingSeconds() const {
    const double queued = queuedSeconds();
    return keepsUp() ? std::min(queued, seconds(open_)) : queued;
}

double DubChain::takeSkippedSeconds() {
    return seconds(skipped_.exchange(0));
}

void DubChain::setGain(float gain) {
    gain_ = clampedGain(gain);
    gainNode_->setGlobalGain(tarn::globalGain(gain_));
}

}  // namespace tarn
