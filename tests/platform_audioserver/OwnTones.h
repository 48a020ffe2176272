#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/audioserver/GraphStream.h"

namespace tarn::test {

/// A tone of -12 dBFS that this process plays to the default output, in stereo.
class ToneSource {
public:
    explicit ToneSource(double frequency) : frequency_(frequency) {}
    void fillRt(std::span<float> stereo) noexcept;
    void awaitCycles(int more) const;  ///< throws after 20 s

private:
    const double frequency_;
    std::uint64_t frame_ = 0;
    std::atomic<int> cycles_{0};
};

/// Played by a stream of ours.
class OwnTone : private GraphStreamHandler {
public:
    OwnTone(AudioServer& server, double frequency);
    ~OwnTone();
    void awaitCycles(int more) const { source_.awaitCycles(more); }

private:
    void renderRt(std::span<float> interleaved, std::int64_t) noexcept override {
        source_.fillRt(interleaved);
    }

    AudioServer& server_;
    ToneSource source_;
    std::unique_ptr<GraphStream> stream_;
};

/// Played as a library in this process would, which knows nothing of us: on a connection of its own.
class ForeignTone {
public:
    enum class State { plays, paused };

    explicit ForeignTone(double frequency, State state = State::plays);
    ~ForeignTone();
    void awaitCycles(int more) const;

private:
    struct Stream;
    std::unique_ptr<Stream> stream_;
};

}  // namespace tarn::test
