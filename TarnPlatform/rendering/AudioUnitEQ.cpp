#include "AudioUnitEQ.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

constexpr float rampFrames = 128;  // 5 ms

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
        std::ranges::fill(sound.subspan(at), 0.0F);  // not what is no number either
    } else if (factor_ != 1.0F) {
        for (float& sample : sound.subspan(at)) {
            sample *= factor_;
        }
    }
    sounding_ = count == out.size() && (count > 0 || sounding_);
    return count;
}

}  // namespace tarn
