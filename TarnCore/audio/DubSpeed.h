#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "DubPace.h"
#include "TarnPlatform/rendering/AudioNode.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "TarnPlatform/rendering/AudioUnitTimePitch.h"

namespace tarn {

/// 0.5 to 2.0; NaN gives 2.0.
float clampedRate(float rate);

/// Sets the speed of a time pitch unit before each block that passes: the user's, times what it takes to keep
/// up with what waits in the player. The sound itself passes unchanged. Stands right behind the unit.
/// Thread: any.
class DubSpeed : public AudioNode {
public:
    DubSpeed(std::shared_ptr<AudioPlayerNode> queue, std::shared_ptr<AudioUnitTimePitch> timePitch)
        : queue_(std::move(queue)), timePitch_(std::move(timePitch)) {}

    /// The user's speed, clamped, from the next block on.
    float rate() const { return rate_.load(std::memory_order_relaxed); }
    void setRate(float rate) { rate_.store(clampedRate(rate), std::memory_order_relaxed); }

    /// Off at creation: the speed is the user's.
    bool keepsUp() const { return keepsUp_.load(std::memory_order_relaxed); }
    void setKeepsUp(bool value) { keepsUp_.store(value, std::memory_order_relaxed); }

    /// How long the newest utterance is, as far as it has been queued, in frames. Where nothing but (the rest
    /// of) it waits, and no more than `oneUtterance`, nothing is late: services may send whole sentences.
    void setNewestUtterance(std::uint64_t frames) { newest_.store(frames, std::memory_order_relaxed); }
    static constexpr double oneUtterance = 5;  ///< seconds

    void renderRt(std::span<float> out) noexcept override { renderPulledRt(out); }
    std::size_t pullRt(std::span<float> out) noexcept override;

private:
    double lagRt() noexcept;

    const std::shared_ptr<AudioPlayerNode> queue_;
    const std::shared_ptr<AudioUnitTimePitch> timePitch_;
    std::atomic<float> rate_{1.0F};
    std::atomic<bool> keepsUp_{false};
    std::atomic<std::uint64_t> newest_{0};
    DubPace pace_;  // the audio thread's
};

}  // namespace tarn
