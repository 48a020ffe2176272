#pragma once

#include <complex>
#include <cstddef>
#include <memory>
#include <span>

namespace tarn {

/// Fourier transform of real blocks of one length. Not thread-safe. Allocates only when made.
class RealFft {
public:
    /// Requires: `length` is even and has no prime factor above 5.
    explicit RealFft(std::size_t length);
    ~RealFft();

    std::size_t length() const { return length_; }
    std::size_t bins() const { return length_ / 2 + 1; }

    /// `samples` has `length()` values, `spectrum` has `bins()`. Not scaled.
    void forward(std::span<const float> samples, std::span<std::complex<float>> spectrum);

    /// Undoes `forward`: scaled by 1/length.
    void inverse(std::span<const std::complex<float>> spectrum, std::span<float> samples);

private:
    struct Plans;

    std::size_t length_;
    std::unique_ptr<Plans> plans_;
};

}  // namespace tarn
