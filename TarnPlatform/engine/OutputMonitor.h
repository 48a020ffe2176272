#pragma once

#include <memory>
#include <string>

#include "EchoReference.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"
#include "TarnPlatform/audioserver/StandInLinks.h"

namespace tarn {

/// Hears everything that the desktop's default output plays, whoever plays it: one stream on the output's
/// monitor, which follows the default, which no mixer shows and which asks for no cycle length of its own.
class OutputMonitor final : private AudioServerObserver, private GraphStreamHandler {
public:
    /// `rate` in Hz, of one channel.
    OutputMonitor(AudioServer& server, std::uint32_t rate, std::shared_ptr<EchoReference> reference);
    /// Requires: stopped.
    ~OutputMonitor() = default;
    OutputMonitor(const OutputMonitor&) = delete;
    OutputMonitor& operator=(const OutputMonitor&) = delete;

    /// `group`: streams of one group share the cycles of one driver. Fails where there is no audio server.
    Result<void> start(const std::string& group);
    /// On return nothing is heard any more.
    void stop();

private:
    void connected() override;
    void disconnected() override;
    void graphChanged(const Graph& graph) override;
    void receiveRt(std::span<const float> samples, std::int64_t time) noexcept override;
    void ended(const std::string& error) override;

    void makeStream();
    void makeStreamLater();
    void watch();

    // Fixed at birth, `group_` at the start.
    AudioServer& server_;
    const std::uint32_t rate_;
    const std::shared_ptr<EchoReference> reference_;
    std::string group_;
    // The loop's.
    std::unique_ptr<GraphStream> stream_;
    std::unique_ptr<AudioServer::Timer> retry_;
    StandInLinks links_{server_};
    std::unique_ptr<AudioServer::Timer> watch_;
};

}  // namespace tarn
