#pragma once

#include <cstddef>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

namespace tarn::bench {

constexpr int dubRate = 24000;  ///< Hz, of all that is stretched

/// Speech at another speed and the same pitch, as a stream of mono samples.
class Stretcher {
public:
    virtual ~Stretcher() = default;
    virtual void write(std::span<const float> samples) = 0;
    /// No more will be written: what is still inside may come out.
    virtual void finish() = 0;
    /// Fills the front of `samples` and returns how many came; none: more input is needed.
    virtual std::size_t read(std::span<float> samples) = 0;
    /// True: what is read is played, and what is not there yet is missed. Then all must be written first, as
    /// the service is well ahead of the player.
    virtual bool playsInRealTime() const { return false; }
};

struct StretcherKind {
    std::string name;
    std::function<std::unique_ptr<Stretcher>(double rate)> make;
};

/// The packaged libraries, each with the settings that were tried.
std::vector<StretcherKind> packagedStretchers();

/// The player's own chain: AudioPlayerNode and AudioUnitTimePitch.
StretcherKind ownStretcher();

/// All of `input` in blocks of 10 ms.
std::vector<float> stretched(Stretcher& stretcher, std::span<const float> input);

}  // namespace tarn::bench
