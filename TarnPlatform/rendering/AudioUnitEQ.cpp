#include "AudioUnitEQ.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

// A gain that jumps is heard as a click; 5 ms at 24 kHz are short enough to seem immediate.
constexpr float rampFrames = 128;

}  // namespace

void AudioUnitEQ::setGlobalGain(float decibels) {
    if (!std::isnan(decibels)) {
        gain_.store(std::clamp(decibels, silent, loudest), std::memory_order_relaxed);
    }
}

void AudioUnitEQ::aimRt() noexcept {
    const float decibels = gain_.load(std::memory_order_relaxed);
    if (decibels != aimedDecibels_) {
        aimedDecibels_ = decibels;
        aim_ = decibels <= silent ? 0.0F : std::pow(10.0F, decibels / 20.0F);
        step_ = (aim_ - factor_) / rampFrames;
    }
    // There is nothing to click in silence, and a fade would swallow the beginning of the next word.
    if (!sounding_) {
        factor_ = aim_;
    }
}

std::size_t AudioUnitEQ::pullRt(std::span<float> out) noexcept {
    aimRt();
    const auto count = pullSourceRt(out);
    const auto sound = out.first(count);
    std::size_t at = 0;
    for (; factor_ != aim_ && at < count; ++at) {
        const bool arrived = std::abs(aim_ - factor_) <= std::abs(step_);
        factor_ = arrived ? aim_ : factor_ + step_;
        sound[at] *= factor_;
    }
    if (factor_ == 0.0F) {
        std::ranges::fill(sound.subspan(at), 0.0F);  // a product with zero would let NaN through
    } else if (factor_ != 1.0F) {
        for (float& sample : sound.subspan(at)) {
            sample *= factor_;
        }
    }
    sounding_ = count == out.size() && (count > 0 || sounding_);
    return count;
}

}  // namespace tarn
