#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "Ducker.h"
#include "EchoReference.h"
#include "KeptStream.h"
#include "TarnPlatform/rendering/AudioNode.h"
#include "TarnPlatform/rendering/StereoPlace.h"

namespace tarn {

/// Plays a node's sound on the desktop's default output: on all its loudspeakers alike, or at its place
/// between left and right.
///
/// The stream has one channel until a place beside the middle is wanted. Then it waits for a pause in the
/// sound and is made anew with two, which it keeps.
class PlaybackStream final : public KeptStream {
public:
    static constexpr std::uint32_t mostFrames = 8192;  ///< rendered at once

    /// Requires: `end`, which is prepared for `mostFrames`, and `place` outlive this.
    /// `reference`, where there is one, gets all that is played, with the time of its cycle; `voice`, where
    /// there is one, is told when that is to be heard.
    PlaybackStream(AudioServer& server, AudioNode& end, StereoPlace& place, std::uint32_t rate,
                   std::shared_ptr<EchoReference> reference, std::shared_ptr<DuckingVoice> voice = nullptr);

    /// `group` as for `KeptStream::follow`. Fails where there is no server, it does not answer, or no session
    /// manager takes the stream, after 2 s at most.
    Result<void> start(const std::string& group);

    void renderRt(std::span<float> samples, std::int64_t time) noexcept override;

private:
    void watched() override;
    void haveTwoChannels();
    bool isTaken() const;
    std::unexpected<Error> reasonForNotStarting() const;

    // Fixed at birth.
    AudioNode& end_;
    StereoPlace& place_;
    const std::uint32_t rate_;
    const std::shared_ptr<EchoReference> reference_;
    const std::shared_ptr<DuckingVoice> voice_;
    bool isStereo_ = false;  // changes only while there is no stream
    std::atomic<std::int64_t> heardAt_{0};
    std::vector<float> mono_ = std::vector<float>(mostFrames);  // the real-time thread's
};

}  // namespace tarn
