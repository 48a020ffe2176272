#include "EchoFilter.h"

#include <algorithm>
#include <cassert>
#include <cmath>

namespace tarn {
namespace {

// Before anything was learnt, the echo may be about as loud as the reference, and a room's response decays:
// the prior variance of the weights falls by this many decibels from the first partition to the last. A flat
// one would let the last partitions learn noise as eagerly as the first learn the echo.
constexpr float firstUncertainty = 0.5F;
constexpr float uncertaintyDecayDb = 60.0F;
// How much of the weights a room keeps in a hop (the state transition of the Kalman filter): people move.
constexpr float forgetting = 0.9998F;
constexpr float nearSmoothing = 0.9F;   // in a hop; 0.1 s: syllables of the near talker are followed
constexpr float tinyPower = 1e-9F;      // of a bin, far below the noise of a microphone
constexpr float leakSmoothing = 0.98F;  // in a hop; half a second, since a shorter mean sees chance
constexpr float mostLostTrust = 1.04F;  // in a hop, which makes a factor of 50 in a second
// A transform's block holds two hops, of which one is sound: a spectrum's power counts by half.
constexpr float halfBlock = 0.5F;

}  // namespace

EchoFilter::EchoFilter(std::size_t hop, std::size_t partitions)
    : hop_(hop),
      partitions_(partitions),
      bins_(hop + 1),
      fft_(2 * hop),
      referenceRe_(partitions * bins_),
      referenceIm_(partitions * bins_),
      weightRe_(partitions * bins_),
      weightIm_(partitions * bins_),
      uncertainty_(partitions * bins_),
      residual_(bins_),
      nearPower_(bins_, tinyPower),
      echoPower_(bins_),
      echoMean_(bins_),
      errorMean_(bins_),
      before_(2 * hop),
      block_(2 * hop),
      sumRe_(bins_),
      sumIm_(bins_),
      invDenominator_(bins_),
      spectrum_(bins_) {
    doubt();
}

void EchoFilter::doubt() {
    for (std::size_t p = 0; p < partitions_; ++p) {
        const float age = static_cast<float>(p) / static_cast<float>(partitions_);
        const float fresh = firstUncertainty * std::pow(10.0F, -uncertaintyDecayDb / 10 * age);
        float* const u = spectrumOf(uncertainty_, p);
        for (std::size_t k = 0; k < bins_; ++k) {
            u[k] = std::max(u[k], fresh);
        }
    }
}

void EchoFilter::run(std::span<const float> reference, std::span<const float> microphone,
                     std::span<float> error, std::span<float> echo) {
    assert(reference.size() == hop_ && microphone.size() == hop_);
    assert(error.size() == hop_ && echo.size() == hop_);
    pushReference(reference);
    estimateEcho(echo);
    for (std::size_t i = 0; i < hop_; ++i) {
        error[i] = microphone[i] - echo[i];
    }
    learn(error);
}

// Overlap-save: each block of the reference has the hop before and the newest one, so that of the circular
// convolution with a partition of one hop the second half is the linear one.
void EchoFilter::pushReference(std::span<const float> reference) {
    std::copy(before_.begin() + static_cast<std::ptrdiff_t>(hop_), before_.end(), before_.begin());
    std::ranges::copy(reference, before_.begin() + static_cast<std::ptrdiff_t>(hop_));
    newest_ = (newest_ + partitions_ - 1) % partitions_;
    fft_.forward(before_, spectrum_);
    float* const re = spectrumOf(referenceRe_, newest_);
    float* const im = spectrumOf(referenceIm_, newest_);
    for (std::size_t k = 0; k < bins_; ++k) {
        re[k] = spectrum_[k].real();
        im[k] = spectrum_[k].imag();
    }
}

// The prediction of the Kalman filter: the uncertainty grows by what the room may have changed (the weights'
// own power is the scale of that) and by the trust that was lost, and the echo follows from the weights. What
// the uncertainty lets expect of the reference is the power of the echo that will be left.
void EchoFilter::estimateEcho(std::span<float> echo) {
    std::ranges::fill(sumRe_, 0.0F);
    std::ranges::fill(sumIm_, 0.0F);
    std::ranges::fill(residual_, 0.0F);
    for (std::size_t p = 0; p < partitions_; ++p) {
        const auto slot = (newest_ + p) % partitions_;
        const float* const xr = spectrumOf(referenceRe_, slot);
        const float* const xi = spectrumOf(referenceIm_, slot);
        const float* const wr = spectrumOf(weightRe_, p);
        const float* const wi = spectrumOf(weightIm_, p);
        float* const u = spectrumOf(uncertainty_, p);
        for (std::size_t k = 0; k < bins_; ++k) {
            constexpr float kept = forgetting * forgetting;
            u[k] = lostTrust_ * kept * u[k] + (1 - kept) * (wr[k] * wr[k] + wi[k] * wi[k]);
            sumRe_[k] += xr[k] * wr[k] - xi[k] * wi[k];
            sumIm_[k] += xr[k] * wi[k] + xi[k] * wr[k];
            residual_[k] += halfBlock * u[k] * (xr[k] * xr[k] + xi[k] * xi[k]);
        }
    }
    for (std::size_t k = 0; k < bins_; ++k) {
        spectrum_[k] = {sumRe_[k], sumIm_[k]};
        echoPower_[k] = halfBlock * std::norm(spectrum_[k]);
    }
    fft_.inverse(spectrum_, block_);
    std::copy(block_.begin() + static_cast<std::ptrdiff_t>(hop_), block_.end(), echo.begin());
}

// The correction of the Kalman filter, with the uncertainty's matrix taken as diagonal over bins and
// partitions, which makes it as cheap as NLMS. The gain of a weight is its uncertainty times the conjugate
// reference, over the power of all that the error may be: expected residual echo and near talker. While
// somebody speaks, the second term is large and the filter holds still; after a change of the room the first
// is, and it learns with nearly the full step. The near talker's power is taken from the error itself, which
// overstates it while echo is left, and so errs towards caution.
void EchoFilter::learn(std::span<const float> error) {
    std::fill_n(block_.begin(), hop_, 0.0F);
    std::ranges::copy(error, block_.begin() + static_cast<std::ptrdiff_t>(hop_));
    fft_.forward(block_, spectrum_);
    followLeak();
    for (std::size_t k = 0; k < bins_; ++k) {
        nearPower_[k] =
            nearSmoothing * nearPower_[k] + (1 - nearSmoothing) * (std::norm(spectrum_[k]) + tinyPower);
        invDenominator_[k] = 1 / (residual_[k] + nearPower_[k]);
        sumRe_[k] = spectrum_[k].real() * invDenominator_[k];
        sumIm_[k] = spectrum_[k].imag() * invDenominator_[k];
    }
    for (std::size_t p = 0; p < partitions_; ++p) {
        const auto slot = (newest_ + p) % partitions_;
        const float* const xr = spectrumOf(referenceRe_, slot);
        const float* const xi = spectrumOf(referenceIm_, slot);
        float* const wr = spectrumOf(weightRe_, p);
        float* const wi = spectrumOf(weightIm_, p);
        float* const u = spectrumOf(uncertainty_, p);
        for (std::size_t k = 0; k < bins_; ++k) {
            wr[k] += u[k] * (xr[k] * sumRe_[k] + xi[k] * sumIm_[k]);
            wi[k] += u[k] * (xr[k] * sumIm_[k] - xi[k] * sumRe_[k]);
            u[k] -= halfBlock * u[k] * u[k] * (xr[k] * xr[k] + xi[k] * xi[k]) * invDenominator_[k];
        }
        constrain(p);
    }
}

// Residual echo rises and falls with the echo estimate, the near talker does not: the regression of the
// error's power on the echo's, over all bins, is the part of the echo that is left. Where it is more than the
// uncertainty expects, the filter is surer than it should be, and the uncertainty grows until both agree.
void EchoFilter::followLeak() {
    float cross = 0;
    float variance = 0;
    float echo = 0;
    float expected = 0;
    for (std::size_t k = 0; k < bins_; ++k) {
        const float echoDeviation = echoPower_[k] - echoMean_[k];
        const float errorDeviation = std::norm(spectrum_[k]) - errorMean_[k];
        echoMean_[k] += (1 - leakSmoothing) * echoDeviation;
        errorMean_[k] += (1 - leakSmoothing) * errorDeviation;
        cross += echoDeviation * errorDeviation;
        variance += echoDeviation * echoDeviation;
        echo += echoPower_[k];
        expected += residual_[k];
    }
    crossDeviation_ = leakSmoothing * crossDeviation_ + (1 - leakSmoothing) * cross;
    echoVariance_ = leakSmoothing * echoVariance_ + (1 - leakSmoothing) * variance;
    const float leak = std::clamp(crossDeviation_ / (echoVariance_ + tinyPower * tinyPower), 0.0F, 1.0F);
    lostTrust_ = std::clamp(leak * echo / (expected + tinyPower), 1.0F, mostLostTrust);
}

// A partition's impulse response is one hop long, but the update in the frequency domain also fills the hop
// behind it, which would wrap round in the convolution. That hop is set to zero. The unconstrained filter
// saves two transforms a partition, but converges to a worse echo.
void EchoFilter::constrain(std::size_t partition) {
    float* const wr = spectrumOf(weightRe_, partition);
    float* const wi = spectrumOf(weightIm_, partition);
    for (std::size_t k = 0; k < bins_; ++k) {
        spectrum_[k] = {wr[k], wi[k]};
    }
    fft_.inverse(spectrum_, block_);
    std::fill(block_.begin() + static_cast<std::ptrdiff_t>(hop_), block_.end(), 0.0F);
    fft_.forward(block_, spectrum_);
    for (std::size_t k = 0; k < bins_; ++k) {
        wr[k] = spectrum_[k].real();
        wi[k] = spectrum_[k].imag();
    }
}

}  // namespace tarn
