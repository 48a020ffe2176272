#pragma once

#include <span>

namespace tarn {

/// Keeps sound within full scale, at once and without delay: a gain that falls to what a sample beyond full
/// scale needs and returns slowly. Cutting the peaks off instead makes loud speech hard to understand.
/// Thread: one.
class PeakLimiter {
public:
    /// The way back to the full gain, at the dub's rate of 24 kHz.
    static constexpr float releaseSeconds = 0.2F;

    /// Changes nothing as long as the sound stays within -1.0 to 1.0. Samples that are NaN or infinite become
    /// silence.
    void limitRt(std::span<float> sound) noexcept;

private:
    float gain_ = 1;
};

}  // namespace tarn
