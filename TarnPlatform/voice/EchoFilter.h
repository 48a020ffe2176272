#pragma once

#include <complex>
#include <cstddef>
#include <span>
#include <vector>

#include "RealFft.h"

namespace tarn {

/// Estimates the echo of a reference in a microphone's signal and subtracts it: a linear filter that learns.
///
/// Partitioned-block frequency-domain Kalman filter (Enzner and Vary, "Frequency-domain adaptive Kalman
/// filter for acoustic echo control in hands-free telephones", Signal Processing 86, 2006; Kuech, Mabande and
/// Enzner, "State-space architecture of the partitioned-block-based acoustic echo controller", ICASSP 2014).
/// Its step size follows from how uncertain each bin of the echo path is and how much else is in the
/// microphone, so that it learns quickly while only the echo is heard and holds still while somebody speaks,
/// without a detector for double talk. A filter that has become too sure of itself (the room has changed)
/// shows in that the power of what is left rises and falls with the echo's: then it trusts itself less (the
/// measure is the leak of Valin, "On adjusting the learning rate in frequency domain echo cancellation with
/// double-talk", IEEE ASLP 15, 2007).
///
/// Not thread-safe. Allocates only when made. All blocks have `hop` samples.
class EchoFilter {
public:
    /// The filter is `partitions` times `hop` samples long.
    EchoFilter(std::size_t hop, std::size_t partitions);

    /// `error` is the microphone without the echo, `echo` what was taken away. Samples must be finite.
    void run(std::span<const float> reference, std::span<const float> microphone, std::span<float> error,
             std::span<float> echo);

    /// The power of the echo that is expected to be left in the last `error`, by bin of a transform of twice
    /// the hop. Valid until the next call.
    std::span<const float> residualPower() const { return residual_; }

    /// To be called where the echo path has changed: the filter trusts its weights no longer, but starts from
    /// them when it learns anew.
    void doubt();

private:
    void pushReference(std::span<const float> reference);
    void estimateEcho(std::span<float> echo);
    void learn(std::span<const float> error);
    void constrain(std::size_t partition);
    void followLeak();

    float* spectrumOf(std::vector<float>& values, std::size_t partition) {
        return values.data() + partition * bins_;
    }

    std::size_t hop_;
    std::size_t partitions_;
    std::size_t bins_;
    RealFft fft_;
    std::size_t newest_ = 0;          // slot of the newest reference spectrum
    std::vector<float> referenceRe_;  // a ring of spectra, partition after partition
    std::vector<float> referenceIm_;
    std::vector<float> weightRe_;  // spectra of the filter's partitions
    std::vector<float> weightIm_;
    std::vector<float> uncertainty_;  // variance of each weight's error
    std::vector<float> residual_;
    std::vector<float> nearPower_;  // of what is not echo, smoothed
    std::vector<float> echoPower_;  // of the last estimate, by bin
    std::vector<float> echoMean_;   // slow means, of which the leak sees the deviations
    std::vector<float> errorMean_;
    float crossDeviation_ = 0;
    float echoVariance_ = 0;
    float lostTrust_ = 1;        // factor by which the uncertainty grows in a hop
    std::vector<float> before_;  // the last hop of the reference, then the newest
    std::vector<float> block_;
    std::vector<float> sumRe_;
    std::vector<float> sumIm_;
    std::vector<float> invDenominator_;
    std::vector<std::complex<float>> spectrum_;
};

}  // namespace tarn
