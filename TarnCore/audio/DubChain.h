#pragma once

#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>

#include "DubSpeed.h"
#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/engine/AudioEngine.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "TarnPlatform/rendering/AudioUnitEQ.h"
#include "TarnPlatform/rendering/AudioUnitTimePitch.h"

namespace tarn {

// What the user's volume becomes. Thread: any.

/// A linear factor, 0.0 to 16.0; NaN gives 16.0.
float clampedGain(float gain);
/// The decibels of a clamped factor: -96 below 0.001, else 20 log10.
float globalGain(float gain);

/// The nodes that the translated speech passes on its way to an engine's mixer, and their controls.
/// Thread: any; `connect`, and `enqueue` with `endUtterance`, one call at a time.
class DubChain {
public:
    /// Player → time pitch → speed → gain → main mixer. Then sets the speed, clamped, and the stored gain.
    void connect(AudioEngine& engine, float rate);

    void play() { node_->play(); }
    void stop() { node_->stop(); }

    /// Queues one chunk of received speech behind the others; less than a sample is nothing. While the output
    /// has played nothing for 2 s, at most 15 s wait: beyond, all but the newest 10 s are dropped, and the
    /// log says so once. What waits for an output that plays is never dropped.
    void enqueue(std::span<const std::byte> bytes);

    /// What was queued until now is one utterance to its end. Nothing where that has been said already.
    void endUtterance();

    /// Whether what waits for too long is spoken faster (see DubPace) and, beyond `DubPace::mostWaiting`,
    /// skipped: whole utterances, the oldest first, but neither the one that is spoken nor the newest. Off at
    /// creation: all is spoken, at the user's speed. Counts at once, for what is queued too.
    void setKeepsUp(bool value);
    bool keepsUp() const { return speed_->keepsUp(); }

    /// Of speech that waits to be played, at its own speed.
    double queuedSeconds() const;

    /// Of that, what more must not come on top of for ever: all of it, but while the dub keeps up only an
    /// utterance that has not ended, since the others may be skipped.
    double holdingSeconds() const;

    /// Of speech that was skipped since the last call, at its own speed.
    double takeSkippedSeconds();

    /// The user's speed, without what keeps up.
    float rate() const { return speed_->rate(); }
    void setRate(float rate) { speed_->setRate(rate); }
    float gain() const { return gain_; }
    void setGain(float gain);
    AudioPlayerNode::Counters counters() const { return node_->counters(); }

private:
    void dropWhatNobodyPlays();
    void skipWhatIsLate();

    const std::shared_ptr<AudioPlayerNode> node_ = std::make_shared<AudioPlayerNode>();
    const std::shared_ptr<AudioUnitTimePitch> timePitch_ = std::make_shared<AudioUnitTimePitch>();
    const std::shared_ptr<DubSpeed> speed_ = std::make_shared<DubSpeed>(node_, timePitch_);
    const std::shared_ptr<AudioUnitEQ> gainNode_ = std::make_shared<AudioUnitEQ>();
    std::atomic<float> gain_{1.0F};
    std::atomic<std::uint64_t> skipped_{0};  // frames
    std::atomic<std::uint64_t> open_{0};     // frames, since the last utterance's end
    // Of `enqueue`.
    std::uint64_t played_ = 0;  // frames
    std::chrono::steady_clock::time_point playedAt_;
    bool saidDropped_ = false;
};

}  // namespace tarn
