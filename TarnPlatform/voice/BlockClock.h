#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

namespace tarn {

/// Says when a stream's samples were, from the times that its blocks bear.
///
/// Blocks follow one another without a gap as long as their times say nearly so: times that jitter move the
/// clock only slowly, and a time that is off by more than a tolerance is a jump, a gap in the stream for
/// example. Times are seconds. Not thread-safe.
class BlockClock {
public:
    /// `rate` in Hz.
    explicit BlockClock(double rate) : rate_(rate) {}

    /// A block of `samples` that begins at `time` has come. The result is by how many seconds the stream
    /// jumped before it, forward above zero; 0 nearly always.
    double arrive(double time, std::size_t samples);

    bool started() const { return blocks_ > 0; }

    /// The time of the sample that comes next.
    double endTime() const { return end_; }

    /// Longest block so far, in seconds.
    double longestBlock() const { return longestBlock_; }

private:
    double rate_;
    double end_ = 0;
    double longestBlock_ = 0;
    std::uint64_t blocks_ = 0;
};

}  // namespace tarn
