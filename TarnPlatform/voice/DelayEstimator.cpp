#include "DelayEstimator.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace tarn {
namespace {

// A single look is noisy; this part of the earlier looks' spectrum is kept at each. Looks come four times a
// second, so a new delay outweighs the old one after half a second.
constexpr float kept = 0.7F;
constexpr float quietest = 1e-7F;  // mean power of a reference that is listened to: -70 dB of full scale
// The greatest of 8000 values of noise lies 4 to 5 standard deviations out; a peak must be clearly beyond.
constexpr float leastStrength = 8.0F;
// Bins are nearly 1 Hz wide. Hum lies below 150 Hz, and speech has little above 6 kHz; since the phase
// transform weighs every bin alike, those without speech would only add noise.
constexpr std::size_t lowestBin = 150;
constexpr std::size_t highestBin = 6000;
constexpr std::size_t nearby = 16;  // samples about a delay that count as the same: 1 ms

}  // namespace

DelayEstimator::DelayEstimator()
    : fft_(referenceLength),
      block_(referenceLength),
      correlation_(referenceLength),
      reference_(fft_.bins()),
      microphone_(fft_.bins()),
      cross_(fft_.bins()) {}

void DelayEstimator::reset() {
    std::ranges::fill(cross_, 0.0F);
    std::ranges::fill(correlation_, 0.0F);
}

std::optional<DelayEstimator::Found> DelayEstimator::look(std::span<const float> reference,
                                                          std::span<const float> microphone) {
    assert(reference.size() == referenceLength && microphone.size() == microphoneLength);
    float power = 0;
    for (const float sample : reference.last(microphoneLength)) {
        power += sample * sample;
    }
    if (power < quietest * static_cast<float>(microphoneLength)) {
        return std::nullopt;
    }
    fft_.forward(reference, reference_);
    // The microphone's part lies at the end of a block of silence, so that every delay up to the difference
    // of the lengths sees all of it, and circular correlation wraps nothing into those delays.
    std::fill_n(block_.begin(), referenceLength - microphoneLength, 0.0F);
    std::ranges::copy(microphone, block_.begin() + (referenceLength - microphoneLength));
    fft_.forward(block_, microphone_);
    // The phase transform: only the phase of each bin counts. The plain correlation of speech is as broad as
    // its pitch and has a peak for every period; whitened, it has one narrow peak at the delay.
    for (std::size_t k = 0; k < cross_.size(); ++k) {
        const std::complex<float> product = microphone_[k] * std::conj(reference_[k]);
        const float size = std::abs(product);
        const bool heard = k >= lowestBin && k < highestBin && size > 0;
        cross_[k] = kept * cross_[k] + (heard ? (1 - kept) / size * product : std::complex<float>());
    }
    fft_.inverse(cross_, correlation_);
    // A loudspeaker wired the wrong way round gives a negative peak, which is as good as a positive one.
    float square = 0;
    std::size_t peak = 0;
    for (std::size_t i = 0; i < mostDelay; ++i) {
        square += correlation_[i] * correlation_[i];
        if (std::abs(correlation_[i]) > std::abs(correlation_[peak])) {
            peak = i;
        }
    }
    deviation_ = std::sqrt(square / static_cast<float>(mostDelay)) + 1e-12F;
    const float strength = std::abs(correlation_[peak]) / deviation_;
    if (strength < leastStrength) {
        return std::nullopt;
    }
    return Found{.delay = topOf(peak), .strength = strength};
}

// The delay with its fraction, from the top of a parabola through the peak and its neighbours. Drift is
// measured by hundredths of a sample, which whole samples would not show for many seconds.
double DelayEstimator::topOf(std::size_t peak) const {
    const float sign = correlation_[peak] < 0 ? -1.0F : 1.0F;
    const float before = sign * correlation_[(peak + referenceLength - 1) % referenceLength];
    const float middle = sign * correlation_[peak];
    const float after = sign * correlation_[peak + 1];
    const float curve = before - 2 * middle + after;
    const float fraction = curve < 0 ? std::clamp(0.5F * (before - after) / curve, -0.5F, 0.5F) : 0.0F;
    return static_cast<double>(peak) + static_cast<double>(fraction);
}

double DelayEstimator::refined(double delay) const {
    constexpr double around = 3;
    const auto from =
        static_cast<std::size_t>(std::clamp(delay - around, 0.0, static_cast<double>(mostDelay)));
    const auto to =
        static_cast<std::size_t>(std::clamp(delay + around + 1, 0.0, static_cast<double>(mostDelay)));
    std::size_t peak = from;
    for (std::size_t i = from; i < to; ++i) {
        if (std::abs(correlation_[i]) > std::abs(correlation_[peak])) {
            peak = i;
        }
    }
    return topOf(peak);
}

float DelayEstimator::strengthAt(double delay) const {
    const auto middle = static_cast<std::size_t>(std::clamp(delay, 0.0, static_cast<double>(mostDelay)));
    float most = 0;
    for (std::size_t i = middle > nearby ? middle - nearby : 0; i <= middle + nearby; ++i) {
        most = std::max(most, std::abs(correlation_[i]));
    }
    return most / deviation_;
}

}  // namespace tarn
