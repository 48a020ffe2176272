#include "ReferenceTrack.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tarn {
namespace {

// A windowed sinc (Hann window), tabulated for this many fractions of a sample and interpolated linearly
// between them, which keeps errors below -80 dB: less than any echo filter takes away. The cutoff lies a
// little below half the rate, because so short a filter has a wide transition, of which little may fold back.
constexpr int taps = 32;
constexpr int fractions = 256;
constexpr double cutoff = 0.95;  // of half the rate

}  // namespace

ReferenceTrack::ReferenceTrack() : ring_(length), coefficients_(std::size_t{fractions + 1} * taps) {
    // Each row's sum is one, so that the level does not ripple with the fraction. The last row is the first
    // one, a sample on, and spares the reader a wrap.
    for (int row = 0; row <= fractions; ++row) {
        const double fraction = static_cast<double>(row) / fractions;
        float* const coefficients = coefficients_.data() + std::ptrdiff_t{row} * taps;
        double sum = 0;
        for (int tap = 0; tap < taps; ++tap) {
            const double t = tap - (taps / 2 - 1) - fraction;
            const double angle = std::numbers::pi * cutoff * t;
            const double sinc = std::abs(angle) < 1e-9 ? 1.0 : std::sin(angle) / angle;
            const double window = 0.5 + 0.5 * std::cos(std::numbers::pi * t / (taps / 2));
            coefficients[tap] = static_cast<float>(sinc * window);
            sum += sinc * window;
        }
        for (int tap = 0; tap < taps; ++tap) {
            coefficients[tap] /= static_cast<float>(sum);
        }
    }
}

void ReferenceTrack::write(std::span<const float> samples) {
    for (const float sample : samples) {
        ring_[static_cast<std::uint64_t>(end_) % length] = sample;
        ++end_;
    }
}

void ReferenceTrack::skip(std::uint64_t samples) {
    if (samples >= length) {
        std::ranges::fill(ring_, 0.0F);
        end_ += static_cast<std::int64_t>(samples);
        return;
    }
    for (std::uint64_t i = 0; i < samples; ++i) {
        ring_[static_cast<std::uint64_t>(end_) % length] = 0;
        ++end_;
    }
}

void ReferenceTrack::read(double position, double step, std::span<float> out) const {
    for (std::size_t i = 0; i < out.size(); ++i) {
        const double exact = position + step * static_cast<double>(i);
        const double whole = std::floor(exact);
        const double row = (exact - whole) * fractions;
        const auto lower = std::min(static_cast<int>(row), fractions - 1);
        const auto part = static_cast<float>(row - lower);
        const float* const first = coefficients_.data() + std::ptrdiff_t{lower} * taps;
        const float* const second = first + taps;
        const auto from = static_cast<std::int64_t>(whole) - (taps / 2 - 1);
        float below = 0;
        float above = 0;
        for (int tap = 0; tap < taps; ++tap) {
            const float sample = at(from + tap);
            below += first[tap] * sample;
            above += second[tap] * sample;
        }
        out[i] = below + part * (above - below);
    }
}

}  // namespace tarn
