#include "PeakLimiter.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

constexpr float sampleRate = 24000;
// The gain approaches 1 ever more slowly and would stop short of it where a step rounds to nothing. From here
// on it is 1, so that sound within full scale is untouched again to the last bit.
constexpr float released = 0.9995F;

}  // namespace

void PeakLimiter::limitRt(std::span<float> sound) noexcept {
    constexpr float step = 1 / (PeakLimiter::releaseSeconds * sampleRate);
    for (float& sample : sound) {
        if (!std::isfinite(sample)) {
            sample = 0;
            continue;
        }
        // The attack is immediate: the gain falls to the sample that needs it, and does not look ahead, which
        // would cost delay. The distortion of that single step is far less than that of clipping every peak.
        // The release is exponential and, at 0.2 s, slower than a period of the lowest voice, so that the
        // gain does not follow the waveform itself: after shorter releases, as after clipping, fewer words
        // are understood (docs/benchmarks.md has the table).
        gain_ += (1 - gain_) * step;
        gain_ = gain_ > released ? 1 : gain_;
        gain_ = std::min(gain_, 1 / std::max(std::abs(sample), 1.0F));
        // The product of a number and its rounded reciprocal may lie just above 1.
        sample = std::clamp(sample * gain_, -1.0F, 1.0F);
    }
}

}  // namespace tarn
