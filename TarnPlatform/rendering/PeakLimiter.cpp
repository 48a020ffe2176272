#include "PeakLimiter.h"

#include <algorithm>
#include <cmath>

namespace tarn {

void PeakLimiter::limitRt(std::span<float> sound) noexcept {
    for (float& sample : sound) {
        sample = std::isfinite(sample) ? std::clamp(sample, -1.0F, 1.0F) : 0.0F;
    }
}

}  // namespace tarn
