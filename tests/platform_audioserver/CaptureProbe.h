#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/capture/CaptureStream.h"

namespace tarn::test {

/// What a capture heard, as its receiver. Thread-safe.
class CaptureProbe : public StreamOutput, public StreamDelegate {
public:
    using Stereo = std::vector<std::vector<float>>;  ///< two planes of one length

    void stream(CaptureStream& stream, const SampleBuffer& sampleBuffer, StreamOutputType type) override;
    void stream(CaptureStream& stream, const Error& didStopWithError) override;

    /// Forgets what was heard, waits for `seconds` more of sound and returns that. Throws after 20 s.
    Stereo next(double seconds);
    /// Waits until both channels have had the tone for 0.2 s at this level (dBFS, within 0.1 dB); whether
    /// that happened within 20 s.
    bool hears(double frequency, double level);
    /// Waits until both have had none of it (below -100 dBFS) for 0.2 s; whether that happened within 20 s.
    bool doesNotHear(double frequency);
    /// Waits until the capture ended by itself; nothing when it did not within 20 s.
    std::optional<Error> awaitEnd();

    std::int64_t frames() const;  ///< since the beginning

    /// Asks of `seconds` of sound after the other until it is so; whether that happened within 20 s. Load of
    /// the machine may spoil some of them.
    bool becomesSo(double seconds, const std::function<bool(const Stereo&)>& isSo);

private:
    mutable std::mutex mutex_;
    std::condition_variable changed_;
    Stereo heard_{2};
    std::int64_t frames_ = 0;
    std::optional<Error> end_;
};

}  // namespace tarn::test
