#include "DubSpeed.h"

#include <algorithm>
#include <cmath>

#include "ServiceAudio.h"

namespace tarn {

// Of a number and NaN, fmin and fmax give the number.
float clampedRate(float rate) {
    return std::fmax(std::fmin(rate, 2.0F), 0.5F);
}

double DubSpeed::lagRt() noexcept {
    const double waiting = static_cast<double>(queue_->queuedFramesRt()) / qwenOutputSampleRate;
    const double newest = static_cast<double>(newest_.load(std::memory_order_relaxed)) / qwenOutputSampleRate;
    return waiting <= std::min(newest, oneUtterance) ? 0 : waiting;
}

std::size_t DubSpeed::pullRt(std::span<float> out) noexcept {
    if (keepsUp()) {
        pace_.stepRt(lagRt(), static_cast<double>(out.size()) / qwenOutputSampleRate);
    } else {
        pace_.restRt();
    }
    timePitch_->setRate(rate() * static_cast<float>(pace_.factor()));
    const std::size_t count = pullSourceRt(out);
    if (count == 0) {
        pace_.restRt();
    }
    return count;
}

}  // namespace tarn
