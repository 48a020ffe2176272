#pragma once

#include <span>

namespace tarn {

/// Keeps sound within full scale, at once and without delay.
class PeakLimiter {
public:
    /// Changes nothing while the sound stays within -1.0 to 1.0. What is no finite number becomes silence.
    void limitRt(std::span<float> sound) noexcept;
};

}  // namespace tarn
