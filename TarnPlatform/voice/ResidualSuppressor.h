#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

#include "RealFft.h"

namespace tarn {

/// Turns down, bin by bin, the echo that a linear filter leaves behind, and steady noise.
///
/// A Wiener gain with the decision-directed estimate of Ephraim and Malah ("Speech enhancement using a
/// minimum mean-square error short-time spectral amplitude estimator", IEEE ASSP 32, 1984). The residual
/// echo's power is the larger of what the filter itself expects (Kuech, Mabande and Enzner, ICASSP 2014) and
/// a part of the echo estimate's power, by bin, that is learnt from how both fluctuate together (after Valin,
/// "On adjusting the learning rate in frequency domain echo cancellation with double-talk", IEEE ASLP 15,
/// 2007): so a loudspeaker that distorts is heard less, and somebody who speaks is not taken for echo. The
/// noise is followed by its minima (after Cohen and Berdugo, "Noise estimation by minima controlled recursive
/// averaging", IEEE SPL 9, 2002).
///
/// Not thread-safe. Allocates only when made. All blocks have `hop` samples; the output is one hop late.
class ResidualSuppressor {
public:
    explicit ResidualSuppressor(std::size_t hop);

    /// `residualPower`: as by `EchoFilter`, for this block. `out` may be `error`.
    void run(std::span<const float> error, std::span<const float> echo, std::span<const float> residualPower,
             std::span<float> out);

    /// How much of the last output is somebody near, 0 to 1, rather than echo or noise.
    float nearness() const { return nearness_; }

private:
    void analyse(std::vector<float>& history, std::span<const float> block,
                 std::vector<std::complex<float>>& spectrum);
    void followLeak();
    void followNoise();
    void applyGain();

    std::size_t hop_;
    std::size_t bins_;
    RealFft fft_;
    std::vector<float> window_;
    std::vector<float> errorHistory_;
    std::vector<float> echoHistory_;
    std::vector<float> block_;
    std::vector<float> overlap_;
    std::vector<std::complex<float>> error_;
    std::vector<std::complex<float>> echo_;
    std::vector<float> expectedBefore_;  // the filter's expectation for the hop before
    std::vector<float> expected_;        // and for the analysed block
    std::vector<float> errorPower_;
    std::vector<float> echoPower_;  // of the echo estimate, with its fading
    std::vector<float> errorMean_;  // slow means, of which the leak sees the deviations
    std::vector<float> echoMean_;
    std::vector<float> cross_;  // of both deviations
    std::vector<float> echoVariance_;
    std::vector<float> leak_;
    std::vector<float> residual_;
    std::vector<float> smoothed_;  // power without echo, for the noise
    std::vector<float> minimum_;
    std::vector<float> nextMinimum_;
    std::vector<float> noise_;
    std::size_t sinceMinimum_ = 0;
    bool started_ = false;
    std::vector<float> cleanBefore_;  // power of the last output
    float nearness_ = 0;
};

}  // namespace tarn
