#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "DuckKeeper.h"
#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {

/// One of our streams that others are to be turned down for while it is to be heard.
class DuckingVoice {
public:
    /// Something louder than a whisper is played at `time`, CLOCK_MONOTONIC ns. Thread: the audio server's
    /// real-time one.
    void heardRt(std::int64_t time) noexcept;
    std::int64_t heardAt() const noexcept { return heardAt_.load(std::memory_order_relaxed); }  ///< 0: never

    /// What others are to be turned down to, linear; 1: not at all. Heard at once. Thread: any.
    void turnOthersDownTo(float factor) noexcept { factor_.store(factor, std::memory_order_relaxed); }
    float factor() const noexcept { return factor_.load(std::memory_order_relaxed); }

private:
    friend class Ducker;

    std::atomic<std::int64_t> heardAt_{0};
    std::atomic<float> factor_{1};
    AudioServer::Bell* bell_ = nullptr;  // while a ducker has it
};

/// Turns other programs down while one of this process's voices is to be heard above them, those too that
/// begin to play meanwhile, and up again when it is over. Where several speak, the one that wants it quietest
/// decides.
///
/// What is turned down is the factor that a stream's adapter applies, not the volume that mixers show and the
/// session manager remembers; whoever moves that volume undoes the change, and the stream is then left alone
/// until the next time. Streams of this process are never touched. A `DuckKeeper`, started when the first
/// voice speaks, turns everything up again where this process dies; without it nothing is turned down, and
/// the log says so.
///
/// Nothing runs while nobody speaks. Thread: any but the loop.
class Ducker final : private AudioServerObserver {
public:
    static constexpr float lowest = 0.1F;  ///< as far as captures can make up for

    /// The process's own for this server, which lives as long as somebody holds it. `keeper`: as for
    /// `DuckKeeper::make`; of the one who makes the ducker.
    static std::shared_ptr<Ducker> of(AudioServer& server, const std::string& keeper);
    Ducker(AudioServer& server, std::string keeper) : server_(server), program_(std::move(keeper)) {}
    /// Requires: every voice was removed.
    ~Ducker() = default;
    Ducker(const Ducker&) = delete;
    Ducker& operator=(const Ducker&) = delete;

    /// Fails where there is no audio server. Requires: the voice plays only afterwards, and until `remove`.
    Result<void> add(std::shared_ptr<DuckingVoice> voice);
    /// After the last voice everything is turned up at once; waits for the server to have done it, for 0.2 s,
    /// and where it has not for the keeper, which tries for 4 s.
    void remove(DuckingVoice& voice);

private:
    struct Stream {
        GraphId id = 0;
        std::vector<float> volumes;  ///< as they were when it was turned down
        float applied = 1;           ///< the factor asked for last
        bool leftAlone = false;
    };

    void disconnected() override;
    void tick();
    bool move();
    void apply(float factor);
    void applyTo(const std::string& serial, const GraphNode& node, float factor);
    bool allUp() const;
    bool hasKeeper();

    AudioServer& server_;
    const std::string program_;
    // The loop's.
    std::vector<std::shared_ptr<DuckingVoice>> voices_;
    std::unique_ptr<AudioServer::Bell> bell_;
    std::unique_ptr<AudioServer::Timer> timer_;  // while somebody speaks or something is turned down
    std::unique_ptr<DuckKeeper> keeper_;
    bool keeperFailed_ = false;
    float factor_ = 1;
    std::map<std::string, Stream> streams_;  // by serial: those touched since all was up
};

}  // namespace tarn
