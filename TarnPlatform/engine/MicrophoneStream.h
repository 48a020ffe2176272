#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "MicrophoneChoice.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"
#include "TarnPlatform/audioserver/StandInLinks.h"

namespace tarn {

/// What a `MicrophoneStream` hears. Times are CLOCK_MONOTONIC ns.
class MicrophoneSink {
public:
    /// Thread: the audio server's real-time one.
    virtual void capturedRt(std::span<const float> interleaved, std::int64_t time) noexcept = 0;
    /// As many frames of silence, because the microphone gives nothing. Thread: the loop.
    virtual void silent(std::uint32_t frames, std::int64_t time) = 0;

protected:
    ~MicrophoneSink() = default;
};

/// Captures one microphone, in one format whatever becomes of it: the chosen one and no other, or else the
/// desktop's default, which is followed.
///
/// Something is delivered all the time. While the microphone or the audio server is gone, or gives nothing,
/// that is silence at the pace of the clock; the microphone is taken up again when it is back.
class MicrophoneStream final : private AudioServerObserver, private GraphStreamHandler {
public:
    /// Requires: `sink` outlives this.
    MicrophoneStream(AudioServer& server, std::optional<std::string> chosen, MicrophoneFormat format,
                     MicrophoneSink& sink);
    /// Requires: stopped.
    ~MicrophoneStream() = default;
    MicrophoneStream(const MicrophoneStream&) = delete;
    MicrophoneStream& operator=(const MicrophoneStream&) = delete;

    /// `group`: streams of one group share the cycles of one driver; empty: none. Fails where there is no
    /// audio server.
    Result<void> start(const std::string& group);
    /// On return nothing is delivered any more.
    void stop();

private:
    void connected() override;
    void disconnected() override;
    void graphChanged(const Graph& graph) override;
    void receiveRt(std::span<const float> interleaved, std::int64_t time) noexcept override;
    void streaming() override;
    void ended(const std::string& error) override;

    void reconsider(const Graph& graph);
    void capture(const GraphNode& microphone);
    void captureLater(const std::string& why);
    void tick();
    void deliverSilence();

    // Fixed at birth, `group_` at the start.
    AudioServer& server_;
    const std::optional<std::string> chosen_;
    const MicrophoneFormat format_;
    MicrophoneSink& sink_;
    std::string group_;
    // The loop's.
    std::unique_ptr<GraphStream> stream_;
    StandInLinks links_{server_};
    std::unique_ptr<AudioServer::Timer> timer_;
    std::string serial_;            // of the microphone that is, or was last, captured
    std::string name_;              // likewise, of any connection
    bool ended_ = false;            // the stream is dead
    bool lost_ = false;             // it was taken from us, and none has run since
    int pause_ = 0;                 // ticks before another try
    std::int64_t silentSince_ = 0;  // up to where silence was delivered

    std::atomic<std::int64_t> receivedAt_{0};
};

}  // namespace tarn
