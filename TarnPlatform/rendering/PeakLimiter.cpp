#include "PeakLimiter.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

constexpr float sampleRate = 24000;
constexpr float released = 0.9995F;  // nearer, a float would stand still

}  // namespace

void PeakLimiter::limitRt(std::span<float> sound) noexcept {
    constexpr float step = 1 / (PeakLimiter::releaseSeconds * sampleRate);
    for (float& sample : sound) {
        if (!std::isfinite(sample)) {
            sample = 0;
            continue;
        }
        gain_ += (1 - gain_) * step;
        gain_ = gain_ > released ? 1 : gain_;
        gain_ = std::min(gain_, 1 / std::max(std::abs(sample), 1.0F));
        sample = std::clamp(sample * gain_, -1.0F, 1.0F);
    }
}

}  // namespace tarn
