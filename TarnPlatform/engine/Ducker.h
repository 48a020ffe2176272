#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "DuckKeeper.h"
#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {

/// Turns other programs down by 12 dB while something is to be heard above them, those too that begin to play
/// meanwhile, and up again when it is over.
///
/// What is turned down is the factor that a stream's adapter applies, not the volume that mixers show and the
/// session manager remembers; whoever moves that volume undoes the change, and the stream is then left alone
/// until the next time. Streams of this process are never touched. A `DuckKeeper` turns everything up again
/// where this process dies.
class Ducker final : private AudioServerObserver {
public:
    static constexpr float lowest = 0.25F;

    /// `heardAt`: when there was something to be heard last, CLOCK_MONOTONIC ns. Thread: the loop.
    Ducker(AudioServer& server, std::function<std::int64_t()> heardAt);
    /// Requires: stopped.
    ~Ducker() = default;
    Ducker(const Ducker&) = delete;
    Ducker& operator=(const Ducker&) = delete;

    /// Fails where there is no audio server, or no keeper `program` to rely on. Thread: any but the loop.
    Result<void> start(const std::string& program);
    /// Turns everything up at once; waits for the server to have done it, for 0.2 s, and where it has not for
    /// the keeper, which tries for 4 s. Thread: any but the loop.
    void stop();

private:
    struct Stream {
        GraphId id = 0;
        std::vector<float> volumes;  ///< as they were when it was turned down
        float applied = 1;           ///< the factor asked for last
        bool leftAlone = false;
    };

    void disconnected() override;
    void tick();
    void move();
    void apply(float factor);
    void applyTo(const std::string& serial, const GraphNode& node, float factor);
    bool allUp() const;

    AudioServer& server_;
    const std::function<std::int64_t()> heardAt_;
    std::unique_ptr<DuckKeeper> keeper_;
    // The loop's.
    std::unique_ptr<AudioServer::Timer> timer_;
    float factor_ = 1;
    std::map<std::string, Stream> streams_;  // by serial: those touched since all was up
};

}  // namespace tarn
