#include "LevelControl.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace tarn {
namespace {

// Speech is brought to -23 dB of full scale, a mean that leaves its peaks of 12 to 15 dB room to spare. Until
// somebody has spoken, that is what is presumed, which makes the gain 1.
constexpr float targetPower = 0.005F;
constexpr float firstSpeechPower = 0.005F;
constexpr float mostGain = 16.0F;   // 24 dB: beyond, it would raise the noise of the microphone itself
constexpr float leastGain = 0.25F;  // -12 dB
// The gain falls faster than it rises, because too loud clips and too quiet is merely quiet. Both are slower
// than syllables, whose differences in level carry meaning.
constexpr float riseDbPerSecond = 6.0F;
constexpr float fallDbPerSecond = 12.0F;
constexpr float speechSeconds = 1.5F;  // over which the level of speech is averaged: a few words
// A block counts as speech where it is near by this much, 9 dB louder than the noise, and louder than -70 dB.
constexpr float leastNearness = 0.4F;
constexpr float aboveNoise = 8.0F;
constexpr float leastSpeechPower = 1e-7F;
constexpr float noiseRiseDbPerSecond = 6.0F;
constexpr int settlingBlocks = 10;  // the stages before this one are still filling so long
constexpr float ceiling = 0.97F;    // the limiter's, a little below full scale
constexpr float limitReleaseSeconds = 0.15F;

float decibelsToFactor(float decibels) {
    return std::pow(10.0F, decibels / 20);
}

}  // namespace

LevelControl::LevelControl(std::size_t block, double rate)
    : block_(block),
      seconds_(static_cast<float>(static_cast<double>(block) / rate)),
      waiting_(block),
      speechPower_(firstSpeechPower),
      noisePower_(1.0F) {}

void LevelControl::follow(float power, float nearness) {
    if (settled_ < settlingBlocks) {
        ++settled_;
        return;
    }
    // The noise is the quietest of the last seconds: it falls at once, and rises slowly, so that speech does
    // not count as noise before the next pause.
    noisePower_ =
        std::min(power, noisePower_ * decibelsToFactor(2 * noiseRiseDbPerSecond * seconds_)) + 1e-10F;
    const bool speech =
        nearness > leastNearness && power > aboveNoise * noisePower_ && power > leastSpeechPower;
    if (speech) {
        // At first this is the mean of the speech so far, so that the very first words set the level.
        heard_ = std::min(heard_ + seconds_, speechSeconds);
        speechPower_ += (power - speechPower_) * std::max(seconds_ / std::max(heard_, 0.2F), 0.0F);
        const float wanted = std::clamp(std::sqrt(targetPower / speechPower_), leastGain, mostGain);
        gain_ = std::clamp(wanted, gain_ * decibelsToFactor(-fallDbPerSecond * seconds_),
                           gain_ * decibelsToFactor(riseDbPerSecond * seconds_));
    }
}

void LevelControl::run(std::span<float> samples, float nearness) {
    assert(samples.size() == block_);
    float power = 0;
    for (const float sample : samples) {
        power += sample * sample;
    }
    const float before = gain_;
    follow(power / static_cast<float>(block_), nearness);
    const float slope = (gain_ - before) / static_cast<float>(block_);
    float peak = 0;
    for (std::size_t i = 0; i < block_; ++i) {
        samples[i] *= before + slope * static_cast<float>(i + 1);
        peak = std::max(peak, std::abs(samples[i]));
    }
    // The limiter's factor is a straight line across each block, and at every joint it is low enough for the
    // peaks of both neighbours: a line between two such points is low enough everywhere. This is why the
    // output is a block late.
    const float needed = peak > ceiling ? ceiling / peak : 1.0F;
    const float released = std::min(1.0F, limit_ + seconds_ / limitReleaseSeconds);
    const float next = std::min({waitingLimit_, needed, released});
    const float limitSlope = (next - limit_) / static_cast<float>(block_);
    for (std::size_t i = 0; i < block_; ++i) {
        const float out = waiting_[i] * (limit_ + limitSlope * static_cast<float>(i));
        waiting_[i] = samples[i];
        samples[i] = std::clamp(out, -1.0F, 1.0F);
    }
    limit_ = next;
    waitingLimit_ = needed;
}

}  // namespace tarn
