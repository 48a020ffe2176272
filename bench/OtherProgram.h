#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <vector>

#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"

namespace tarn::bench {

/// Another program that plays to the default output, to be made in a process of its own: a click every 0.3 s,
/// a tone of 440 Hz at -12 dBFS, or one that swells as often as speech does.
class OtherProgram : private GraphStreamHandler {
public:
    enum class Plays { clicks, tone, swells };

    /// Throws std::runtime_error.
    OtherProgram(AudioServer& server, Plays what);
    ~OtherProgram();
    OtherProgram(const OtherProgram&) = delete;
    OtherProgram& operator=(const OtherProgram&) = delete;

    /// When each click was given to the graph, as the first sample of its cycle: CLOCK_MONOTONIC, ns.
    std::vector<std::int64_t> clicks() const;
    std::size_t cycleFrames() const { return cycleFrames_; }  ///< as given last

private:
    void renderRt(std::span<float> interleaved, std::int64_t time) noexcept override;

    AudioServer& server_;
    const Plays what_;
    std::vector<std::int64_t> times_;
    std::atomic<std::size_t> clicks_{0};
    std::atomic<std::size_t> cycleFrames_{0};
    std::uint64_t frame_ = 0;
    std::uint64_t nextClick_ = 24000;
    std::unique_ptr<GraphStream> stream_;
};

/// CLOCK_MONOTONIC, ns.
std::int64_t monotonicNow();

}  // namespace tarn::bench
