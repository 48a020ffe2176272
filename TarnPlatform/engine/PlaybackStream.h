#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "EchoReference.h"
#include "KeptStream.h"
#include "TarnPlatform/rendering/AudioNode.h"

namespace tarn {

/// Plays a node's sound, one channel, on the desktop's default output.
class PlaybackStream final : public KeptStream {
public:
    static constexpr std::uint32_t mostFrames = 8192;  ///< rendered at once

    /// Requires: `end` outlives this and is prepared for `mostFrames`.
    /// `reference`, where there is one, gets all that is played, with the time of its cycle.
    PlaybackStream(AudioServer& server, AudioNode& end, std::uint32_t rate,
                   std::shared_ptr<EchoReference> reference);

    /// `group` as for `KeptStream::follow`. Fails where there is no server, it does not answer, or no session
    /// manager takes the stream, after 2 s at most.
    Result<void> start(const std::string& group);

    /// When something louder than a whisper was played last, CLOCK_MONOTONIC ns; 0: never. Thread: any.
    std::int64_t heardAt() const noexcept { return heardAt_.load(std::memory_order_relaxed); }

    void renderRt(std::span<float> samples, std::int64_t time) noexcept override;

private:
    bool isTaken() const;
    std::unexpected<Error> reasonForNotStarting() const;

    // Fixed at birth.
    AudioNode& end_;
    const std::shared_ptr<EchoReference> reference_;

    std::atomic<std::int64_t> heardAt_{0};
};

}  // namespace tarn
