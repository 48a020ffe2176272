#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "Ducker.h"
#include "EchoReference.h"
#include "KeptStream.h"
#include "TarnPlatform/rendering/AudioNode.h"

namespace tarn {

/// Plays a node's sound, one channel, on the desktop's default output.
class PlaybackStream final : public KeptStream {
public:
    static constexpr std::uint32_t mostFrames = 8192;  ///< rendered at once

    /// Requires: `end` outlives this and is prepared for `mostFrames`.
    /// `reference`, where there is one, gets all that is played, with the time of its cycle; `voice`, where
    /// there is one, is told when that is to be heard.
    PlaybackStream(AudioServer& server, AudioNode& end, std::uint32_t rate,
                   std::shared_ptr<EchoReference> reference, std::shared_ptr<DuckingVoice> voice = nullptr);

    /// `group` as for `KeptStream::follow`. Fails where there is no server, it does not answer, or no session
    /// manager takes the stream, after 2 s at most.
    Result<void> start(const std::string& group);

    void renderRt(std::span<float> samples, std::int64_t time) noexcept override;

private:
    bool isTaken() const;
    std::unexpected<Error> reasonForNotStarting() const;

    // Fixed at birth.
    AudioNode& end_;
    const std::shared_ptr<EchoReference> reference_;
    const std::shared_ptr<DuckingVoice> voice_;
};

}  // namespace tarn
