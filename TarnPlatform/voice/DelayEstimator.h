#pragma once

#include <complex>
#include <cstddef>
#include <optional>
#include <span>
#include <vector>

#include "RealFft.h"

namespace tarn {

/// Finds how long after the reference its echo is in the microphone's signal.
///
/// Generalised cross-correlation with phase transform (Knapp and Carter, "The generalized correlation method
/// for estimation of time delay", IEEE ASSP 24, 1976) of the last half second of the microphone, smoothed
/// over a few looks. Not thread-safe. Allocates only when made.
class DelayEstimator {
public:
    static constexpr std::size_t referenceLength = 16384;  ///< samples of a look: a second at 16 kHz
    static constexpr std::size_t microphoneLength = 8192;
    static constexpr std::size_t mostDelay = 8000;  ///< samples: what is found lies below

    DelayEstimator();

    /// Where the echo lies.
    struct Found {
        double delay;    ///< samples, with their fraction
        float strength;  ///< of the peak, in standard deviations of the correlation elsewhere
    };

    /// Both signals end at the same moment. Nothing while too little was heard of the reference, or while
    /// nothing sticks out.
    std::optional<Found> look(std::span<const float> reference, std::span<const float> microphone);

    /// How strong the correlation is at about `delay`, as in `Found`.
    float strengthAt(double delay) const;

    /// Where exactly the correlation is strongest within three samples of `delay`: one reflection of several
    /// that are about as strong, followed from look to look.
    double refined(double delay) const;

    /// Forgets what was heard before.
    void reset();

private:
    double topOf(std::size_t peak) const;

    RealFft fft_;
    std::vector<float> block_;
    std::vector<float> correlation_;
    std::vector<std::complex<float>> reference_;
    std::vector<std::complex<float>> microphone_;
    std::vector<std::complex<float>> cross_;  // smoothed
    float deviation_ = 1;                     // of the correlation, apart from its peaks
};

}  // namespace tarn
