#include "ResidualSuppressor.h"

#include <algorithm>
#include <cassert>
#include <cmath>
#include <numbers>

namespace tarn {
namespace {

constexpr float tinyPower = 1e-9F;
constexpr float echoFading = 0.7F;  // in a hop; a room's tail beyond the filter dies away like this
constexpr float slow = 0.02F;       // in a hop; the means of the leak take half a second to follow
constexpr float leastLeak = 0.0005F;
constexpr float mostLeak = 1.0F;
constexpr float echoWeight = 1.5F;  // echo that is heard is worse than a talker turned down a little
constexpr float noiseWeight = 1.0F;
// Ephraim and Malah use 0.98, which removes musical noise. With as much, the gain opens several hops after
// the near talker begins beneath an echo, and their consonants are lost; the floors below hide the noise
// instead.
constexpr float decisionDirected = 0.8F;
constexpr float echoFloor = 0.1F;   // -20 dB: deeper holes cost the recogniser more words than the echo does
constexpr float noiseFloor = 0.4F;  // -8 dB: noise is made quieter, not taken away
constexpr float noiseSmoothing = 0.8F;
constexpr float minimumBias = 1.5F;  // makes up for the minimum of a smoothed power lying below its mean
// The minimum is that of the last 1.5 to 3 s, in which speech leaves every bin quiet at least once.
constexpr std::size_t minimumHops = 150;

}  // namespace

ResidualSuppressor::ResidualSuppressor(std::size_t hop)
    : hop_(hop),
      bins_(hop + 1),
      fft_(2 * hop),
      window_(2 * hop),
      errorHistory_(2 * hop),
      echoHistory_(2 * hop),
      block_(2 * hop),
      overlap_(hop),
      error_(bins_),
      echo_(bins_) {
    for (std::size_t i = 0; i < window_.size(); ++i) {
        // The square root of a Hann window is applied before and after the gain; the squares of halves that
        // overlap add up to one.
        window_[i] = static_cast<float>(std::sin(std::numbers::pi * (static_cast<double>(i) + 0.5) /
                                                 static_cast<double>(window_.size())));
    }
    for (auto* values :
         {&expectedBefore_, &expected_, &errorPower_, &echoPower_, &errorMean_, &echoMean_, &cross_,
          &echoVariance_, &leak_, &residual_, &smoothed_, &minimum_, &nextMinimum_, &noise_, &cleanBefore_}) {
        values->resize(bins_);
    }
    std::ranges::fill(leak_, 0.1F);
}

void ResidualSuppressor::run(std::span<const float> error, std::span<const float> echo,
                             std::span<const float> residualPower, std::span<float> out) {
    assert(error.size() == hop_ && echo.size() == hop_ && residualPower.size() == bins_ &&
           out.size() == hop_);
    analyse(errorHistory_, error, error_);
    analyse(echoHistory_, echo, echo_);
    for (std::size_t k = 0; k < bins_; ++k) {
        // The window spans two hops of the filter, hence the mean of what it expected for both.
        expected_[k] = 0.5F * (expectedBefore_[k] + residualPower[k]);
        expectedBefore_[k] = residualPower[k];
        errorPower_[k] = std::norm(error_[k]);
        echoPower_[k] = std::max(std::norm(echo_[k]), echoFading * echoPower_[k]);
    }
    followLeak();
    followNoise();
    applyGain();
    fft_.inverse(error_, block_);
    for (std::size_t i = 0; i < hop_; ++i) {
        out[i] = overlap_[i] + block_[i] * window_[i];
        overlap_[i] = block_[hop_ + i] * window_[hop_ + i];
    }
}

void ResidualSuppressor::analyse(std::vector<float>& history, std::span<const float> block,
                                 std::vector<std::complex<float>>& spectrum) {
    std::copy(history.begin() + static_cast<std::ptrdiff_t>(hop_), history.end(), history.begin());
    std::ranges::copy(block, history.begin() + static_cast<std::ptrdiff_t>(hop_));
    for (std::size_t i = 0; i < block_.size(); ++i) {
        block_[i] = history[i] * window_[i];
    }
    fft_.forward(block_, spectrum);
}

// By bin, the leak is the regression of the error's power on the echo estimate's. The linear filter's own
// expectation knows nothing of a loudspeaker's distortion, which it cannot model; this does, since distortion
// rises and falls with the echo.
void ResidualSuppressor::followLeak() {
    float echoNow = 0;
    float echoUsual = 0;
    for (std::size_t k = 0; k < bins_; ++k) {
        echoNow += echoPower_[k];
        echoUsual += echoMean_[k];
    }
    // Nothing is learnt while there is no echo: the means would fade, and the next echo would seem a rise.
    const bool active = echoNow > 0.01F * echoUsual && echoNow > tinyPower;
    for (std::size_t k = 0; k < bins_; ++k) {
        if (active) {
            const float errorDeviation = errorPower_[k] - errorMean_[k];
            const float echoDeviation = echoPower_[k] - echoMean_[k];
            errorMean_[k] += slow * errorDeviation;
            echoMean_[k] += slow * echoDeviation;
            cross_[k] += slow * (errorDeviation * echoDeviation - cross_[k]);
            echoVariance_[k] += slow * (echoDeviation * echoDeviation - echoVariance_[k]);
            if (echoVariance_[k] > tinyPower * tinyPower) {
                leak_[k] = std::clamp(cross_[k] / echoVariance_[k], leastLeak, mostLeak);
            }
        }
        residual_[k] = echoWeight * std::max(expected_[k], leak_[k] * echoPower_[k]);
    }
}

// Speech leaves every bin quiet now and then, steady noise does not: the minimum of the smoothed power over
// some seconds is the noise, whoever speaks. Two minima that begin a span apart forget the old one without a
// list of all values.
void ResidualSuppressor::followNoise() {
    const bool newSpan = ++sinceMinimum_ >= minimumHops;
    if (newSpan) {
        sinceMinimum_ = 0;
    }
    for (std::size_t k = 0; k < bins_; ++k) {
        const float power = errorPower_[k];
        smoothed_[k] = started_ ? noiseSmoothing * smoothed_[k] + (1 - noiseSmoothing) * power : power;
        if (!started_) {
            minimum_[k] = nextMinimum_[k] = smoothed_[k];
            noise_[k] = 0;
        }
        minimum_[k] = std::min(minimum_[k], smoothed_[k]);
        nextMinimum_[k] = std::min(nextMinimum_[k], smoothed_[k]);
        if (newSpan) {
            minimum_[k] = nextMinimum_[k];
            nextMinimum_[k] = smoothed_[k];
        }
        noise_[k] += 0.05F * (minimumBias * minimum_[k] - noise_[k]);
    }
    started_ = true;
}

// The prior ratio of wanted to unwanted is mostly that of the hop before (the decision-directed estimate),
// the posterior one that of this hop. Wiener's gain follows from the prior, which fluctuates less.
void ResidualSuppressor::applyGain() {
    float nearPower = 0;
    float allPower = tinyPower;
    for (std::size_t k = 0; k < bins_; ++k) {
        const float noise = noiseWeight * noise_[k];
        const float unwanted = residual_[k] + noise + tinyPower;
        const float posterior = errorPower_[k] / unwanted;
        const float prior = decisionDirected * cleanBefore_[k] / unwanted +
                            (1 - decisionDirected) * std::max(posterior - 1, 0.0F);
        float gain = prior / (1 + prior);
        // The floor is that of what is unwanted here: noise may stay audible, echo may not.
        const float floor = (noiseFloor * noise + echoFloor * residual_[k] + tinyPower) / unwanted;
        cleanBefore_[k] = gain * gain * errorPower_[k];
        nearPower += cleanBefore_[k];
        allPower += errorPower_[k];
        gain = std::max(gain, floor);
        error_[k] *= gain;
    }
    nearness_ = nearPower / allPower;
}

}  // namespace tarn
