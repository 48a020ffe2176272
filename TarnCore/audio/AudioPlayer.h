#pragma once

#include <cstddef>
#include <memory>
#include <span>

#include "DubChain.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/engine/AudioEngine.h"

namespace tarn {

/// Plays the translated speech of one run that captures other programs' sound: on the desktop's default
/// output, with an engine of its own. Made for one run, started once and stopped once.
///
/// Thread: any; `start` and `stop` may block, for 2 s in the worst case, and `enqueue`, `setRate` and
/// `setGain` never do.
class AudioPlayer {
public:
    AudioPlayer();
    /// With an engine of the caller's.
    explicit AudioPlayer(std::unique_ptr<AudioEngine> engine);

    /// Fails with the engine's error; then nothing plays.
    Result<void> start(float rate);

    /// Received speech: signed 16-bit little-endian, 24000 Hz, one channel. Chunks play back to back, in
    /// order. Less than one sample is nothing; never fails.
    void enqueue(std::span<const std::byte> bytes) { chain_.enqueue(bytes); }

    /// Of speech that waits to be played, at its own speed. Grows without limit where more comes than is
    /// played; where nothing is played, the oldest is dropped beyond 15 s.
    double queuedSeconds() const { return chain_.queuedSeconds(); }

    /// Drops what is queued, then ends the engine.
    void stop();

    /// The speed, 1.0 before the start; what is set is held to 0.5 to 2.0 and heard at once.
    float rate() const { return chain_.rate(); }
    void setRate(float rate) { chain_.setRate(rate); }

    /// A linear factor; what is set is held to 0.0 to 16.0 and heard at once.
    float gain() const { return chain_.gain(); }
    void setGain(float gain) { chain_.setGain(gain); }

    /// For what both players have in common: utterances, keeping up.
    DubChain& dub() { return chain_; }

    /// As `AudioEngine::turnOthersDown`.
    void turnOthersDown(double decibels) { engine_->turnOthersDown(decibels); }
    /// As `AudioEngine::setPlace`.
    void setPlace(float place) { engine_->setPlace(place); }

    /// For diagnostics.
    AudioPlayerNode::Counters counters() const { return chain_.counters(); }

private:
    DubChain chain_;
    const std::unique_ptr<AudioEngine> engine_;
};

}  // namespace tarn
