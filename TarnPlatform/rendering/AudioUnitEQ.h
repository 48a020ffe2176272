#pragma once

#include <atomic>

#include "AudioNode.h"

namespace tarn {

/// An equaliser without bands: all that it has is a gain for the whole.
class AudioUnitEQ : public AudioNode {
public:
    static constexpr float silent = -96.0F;  ///< dB, of the lowest gain, which is exact silence
    static constexpr float loudest = 24.1F;  ///< dB, a little above a factor of 16

    /// Decibels; 0 at creation, which changes no sample. Thread: any.
    float globalGain() const { return gain_.load(std::memory_order_relaxed); }

    /// Gains beyond `silent` or `loudest` are taken as these; NaN is ignored. A change is faded over 128
    /// frames, but one before the first sound, or in silence, counts from the next sound on. Thread: any.
    void setGlobalGain(float decibels);

    void renderRt(std::span<float> out) noexcept override { renderPulledRt(out); }
    std::size_t pullRt(std::span<float> out) noexcept override;

private:
    void aimRt() noexcept;

    std::atomic<float> gain_{0.0F};

    // The audio thread's. Factors.
    float aimedDecibels_ = 0.0F;
    float aim_ = 1.0F;
    float factor_ = 1.0F;
    float step_ = 0.0F;
    bool sounding_ = false;
};

}  // namespace tarn
