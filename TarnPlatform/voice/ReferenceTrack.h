#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarn {

/// The last seconds of a signal, by the number of the sample, to be read between the samples as well.
/// Not thread-safe. Allocates only when made.
class ReferenceTrack {
public:
    static constexpr std::size_t length = 65536;  ///< samples that are kept

    ReferenceTrack();

    /// Appends samples, which must be finite.
    void write(std::span<const float> samples);
    /// Appends silence.
    void skip(std::uint64_t samples);

    /// The number of the sample that is written next.
    std::int64_t end() const { return end_; }

    /// Reads from `position` on, `step` apart (about 1), between the samples by a windowed sinc. What is not
    /// there, because it is too old or not written yet, is silence.
    void read(double position, double step, std::span<float> out) const;

private:
    float at(std::int64_t index) const {
        return index >= end_ || index < end_ - static_cast<std::int64_t>(length)
                   ? 0.0F
                   : ring_[static_cast<std::uint64_t>(index) % length];
    }

    std::vector<float> ring_;
    std::vector<float> coefficients_;  // row after row of the fractions between two samples
    std::int64_t end_ = 0;
};

}  // namespace tarn
