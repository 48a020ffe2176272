#pragma once

#include <atomic>
#include <cstdint>
#include <span>

#include "PeakLimiter.h"

namespace tarn {

/// Gives the sound of one channel a place between two loudspeakers. Wherever that is, both together have the
/// same power; what would go beyond full scale in the nearer one is limited (see PeakLimiter).
class StereoPlace {
public:
    /// -1, the left one alone, to 1, the right one; 0 at creation, which changes no sample. Beyond these the
    /// nearest counts; NaN is ignored. A change is faded over 1200 frames, but one before the first sound
    /// counts at once. Thread: any.
    void setPlace(float place) noexcept;
    float place() const noexcept { return place_.load(std::memory_order_relaxed); }

    /// Fills `stereo`, left and right side by side, from as many frames of `mono`, within full scale, which
    /// becomes the mean of both. Thread: audio (RT).
    void renderRt(std::span<float> mono, std::span<float> stereo) noexcept;

private:
    struct Factors {
        float left = 1;
        float right = 1;
    };

    static Factors factorsFor(float place) noexcept;
    void aimRt() noexcept;
    void stepRt() noexcept;

    std::atomic<float> place_{0};
    // The audio thread's.
    float aimedPlace_ = 0;
    Factors aim_;
    Factors now_;
    Factors step_;
    std::uint32_t stepsLeft_ = 0;
    bool begun_ = false;
    PeakLimiter limiter_;
};

}  // namespace tarn
