#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

#include "EchoReference.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"
#include "TarnPlatform/audioserver/StandInLinks.h"
#include "TarnPlatform/rendering/AudioNode.h"

namespace tarn {

/// Plays a node's sound, one channel, on the desktop's default output: one stream, made again whenever the
/// connection or the stream was lost.
class PlaybackStream final : private AudioServerObserver, public GraphStreamHandler {
public:
    static constexpr std::uint32_t mostFrames = 8192;  ///< rendered at once

    /// Requires: `end` outlives this and is prepared for `mostFrames`.
    /// `reference`, where there is one, gets all that is played, with the time of its cycle.
    PlaybackStream(AudioServer& server, AudioNode& end, std::uint32_t rate,
                   std::shared_ptr<EchoReference> reference);
    /// Requires: stopped.
    ~PlaybackStream() = default;
    PlaybackStream(const PlaybackStream&) = delete;
    PlaybackStream& operator=(const PlaybackStream&) = delete;

    /// `group`: streams of one group share the cycles of one driver; empty: none. Fails where there is no
    /// server, it does not answer, or no session manager takes the stream, after 2 s at most.
    Result<void> start(const std::string& group);
    void stop();

    /// When something louder than a whisper was played last, CLOCK_MONOTONIC ns; 0: never. Thread: any.
    std::int64_t heardAt() const noexcept { return heardAt_.load(std::memory_order_relaxed); }

    void renderRt(std::span<float> samples, std::int64_t time) noexcept override;

private:
    void connected() override;
    void disconnected() override;
    void graphChanged(const Graph& graph) override;
    void streaming() override;
    void ended(const std::string& error) override;

    void makeStream();
    void watch();
    void makeStreamLater(const std::string& why);
    bool isTaken() const;
    std::unexpected<Error> reasonForNotStarting() const;

    // Fixed at birth, `group_` at the start.
    AudioServer& server_;
    AudioNode& end_;
    const std::uint32_t rate_;
    const std::shared_ptr<EchoReference> reference_;
    std::string group_;
    // The loop's.
    std::unique_ptr<GraphStream> stream_;
    std::unique_ptr<AudioServer::Timer> retry_;
    StandInLinks links_{server_};
    std::unique_ptr<AudioServer::Timer> watch_;
    Result<void> made_;
    bool lost_ = false;  // and not yet back

    std::atomic<std::int64_t> heardAt_{0};
};

}  // namespace tarn
