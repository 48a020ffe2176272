#include "PlaybackControls.h"

#include <cmath>

namespace tarn {

// fmin and fmax give the other operand for what is no number.
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

}  // namespace tarn
