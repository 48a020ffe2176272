#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/engine/AudioEngine.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "TarnPlatform/rendering/AudioUnitEQ.h"
#include "TarnPlatform/rendering/AudioUnitTimePitch.h"

namespace tarn {

// What the user's speed and volume become. Thread: any.

/// 0.5 to 2.0; NaN gives 2.0.
float clampedRate(float rate);
/// A linear factor, 0.0 to 16.0; NaN gives 16.0.
float clampedGain(float gain);
/// The decibels of a clamped factor: -96 below 0.001, else 20 log10.
float globalGain(float gain);

/// The nodes that the translated speech passes on its way to an engine's mixer, and their controls.
/// Thread: any; `connect` and `enqueue` one call at a time each.
class DubChain {
public:
    /// Player → time pitch → gain → main mixer. Then sets the speed, clamped, and the stored gain.
    void connect(AudioEngine& engine, float rate);

    void play() { node_->play(); }
    void stop() { node_->stop(); }

    /// Queues one chunk of received speech behind the others; less than a sample is nothing. While the output
    /// has played nothing for 2 s, at most 15 s wait: beyond, all but the newest 10 s are dropped, and the
    /// log says so once. What waits for an output that plays is never dropped.
    void enqueue(std::span<const std::byte> bytes);

    /// Of speech that waits to be played, at its own speed.
    double queuedSeconds() const;

    float rate() const { return timePitch_->rate(); }
    void setRate(float rate);
    float gain() const { return gain_; }
    void setGain(float gain);
    AudioPlayerNode::Counters counters() const { return node_->counters(); }

private:
    void dropWhatNobodyPlays();

    const std::shared_ptr<AudioPlayerNode> node_ = std::make_shared<AudioPlayerNode>();
    const std::shared_ptr<AudioUnitTimePitch> timePitch_ = std::make_shared<AudioUnitTimePitch>();
    const std::shared_ptr<AudioUnitEQ> gainNode_ = std::make_shared<AudioUnitEQ>();
    std::atomic<float> gain_{1.0F};
    // Of `enqueue`.
    std::uint64_t played_ = 0;  // frames
    std::chrono::steady_clock::time_point playedAt_;
    bool saidDropped_ = false;
};

}  // namespace tarn
