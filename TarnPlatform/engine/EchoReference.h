#pragma once

#include <cstdint>
#include <span>
#include <vector>

#include "TimedRing.h"

namespace tarn {

/// What the loudspeakers are given, for voice processing: everything that the default output plays, as its
/// monitor tells it; where that tells nothing, what this engine plays itself.
class EchoReference {
public:
    /// `rate` in Hz, of one channel.
    explicit EchoReference(std::uint32_t rate);

    /// Thread: the audio server's real-time one, for both.
    void monitoredRt(std::span<const float> samples, std::int64_t time) noexcept;
    void playedRt(std::span<const float> samples, std::int64_t time) noexcept;

    /// As `TimedRing::pop`. Thread: the one reader's.
    bool pop(std::int64_t& time, std::vector<float>& samples) { return ring_.pop(time, samples); }

private:
    TimedRing ring_;
    std::int64_t monitoredAt_;  // the real-time thread's: CLOCK_MONOTONIC, ns
};

}  // namespace tarn
