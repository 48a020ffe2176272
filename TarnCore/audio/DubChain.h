#pragma once

#include <atomic>
#include <cstddef>
#include <memory>
#include <span>

#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/engine/AudioEngine.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "TarnPlatform/rendering/AudioUnitEQ.h"
#include "TarnPlatform/rendering/AudioUnitTimePitch.h"

namespace tarn {

/// The nodes that the translated speech passes on its way to an engine's mixer, and their controls.
/// Thread: any; `connect` and `enqueue` one call at a time each.
class DubChain {
public:
    /// Player → time pitch → gain → main mixer. Then sets the speed, clamped, and the stored gain.
    void connect(AudioEngine& engine, float rate);

    void play() { node_->play(); }
    void stop() { node_->stop(); }

    /// Queues one chunk of received speech behind the others; less than a sample is nothing.
    void enqueue(std::span<const std::byte> bytes);

    float rate() const { return timePitch_->rate(); }
    void setRate(float rate);
    float gain() const { return gain_; }
    void setGain(float gain);
    AudioPlayerNode::Counters counters() const { return node_->counters(); }

private:
    const std::shared_ptr<AudioPlayerNode> node_ = std::make_shared<AudioPlayerNode>();
    const std::shared_ptr<AudioUnitTimePitch> timePitch_ = std::make_shared<AudioUnitTimePitch>();
    const std::shared_ptr<AudioUnitEQ> gainNode_ = std::make_shared<AudioUnitEQ>();
    std::atomic<float> gain_{1.0F};
};

}  // namespace tarn
