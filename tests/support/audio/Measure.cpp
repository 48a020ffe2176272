#include "Measure.h"

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstddef>
#include <numbers>
#include <utility>

namespace tarn::test {
namespace {

constexpr double turn = 2 * std::numbers::pi;

double hann(std::size_t i, std::size_t size) {
    return 0.5 - 0.5 * std::cos(turn * (static_cast<double>(i) + 0.5) / static_cast<double>(size));
}

}  // namespace

double toneLevel(std::span<const float> samples, double frequency, double rate) {
    const double angle = turn * frequency / rate;
    double last = 0;
    double beforeLast = 0;
    double weight = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double window = hann(i, samples.size());
        weight += window;
        const double now = window * static_cast<double>(samples[i]) + 2 * std::cos(angle) * last - beforeLast;
        beforeLast = std::exchange(last, now);
    }
    const double power = last * last + beforeLast * beforeLast - 2 * std::cos(angle) * last * beforeLast;
    const double amplitude = 2 * std::sqrt(std::max(power, 0.0)) / std::max(weight, 1.0);
    return 20 * std::log10(std::max(amplitude, 1e-10));
}

double rms(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    }
    return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

// The sine is brought down to frequency 0 and averaged in windows of eight periods, each half a window after
// the one before. Neighbours but one do not overlap, so that a jump lies between two of them or nearly so.
double largestJump(std::span<const float> samples, double frequency, double rate) {
    const auto hop = static_cast<std::size_t>(std::ceil(4 * rate / frequency));
    std::vector<std::complex<double>> windows;
    double loudest = 0;
    for (std::size_t start = 0; start + 2 * hop <= samples.size(); start += hop) {
        std::complex<double> sum;
        for (std::size_t i = 0; i < 2 * hop; ++i) {
            const double phase = std::fmod(frequency * static_cast<double>(start + i) / rate, 1.0) * -turn;
            sum += hann(i, 2 * hop) * static_cast<double>(samples[start + i]) * std::polar(1.0, phase);
        }
        windows.push_back(sum);
        loudest = std::max(loudest, std::abs(sum));
    }
    double jump = 0;
    for (std::size_t i = 0; i < windows.size(); ++i) {
        if (std::abs(windows[i]) <= loudest / 2) {
            return std::numbers::pi;
        }
        if (i >= 2) {
            jump = std::max(jump, std::abs(std::arg(windows[i] * std::conj(windows[i - 2]))));
        }
    }
    return jump;
}

std::span<const float> withoutSilence(std::span<const float> samples, double rate, double margin,
                                      float floor) {
    const auto isLoud = [floor](float sample) { return std::abs(sample) > floor; };
    const auto first = std::ranges::find_if(samples, isLoud) - samples.begin();
    const auto last = std::find_if(samples.rbegin(), samples.rend(), isLoud).base() - samples.begin();
    const auto cut = static_cast<std::ptrdiff_t>(margin * rate);
    if (last - first <= 2 * cut) {
        return {};
    }
    return samples.subspan(static_cast<std::size_t>(first + cut),
                           static_cast<std::size_t>(last - first - 2 * cut));
}

std::vector<float> channelOf(std::span<const float> interleaved, unsigned channels, unsigned index) {
    std::vector<float> samples;
    samples.reserve(interleaved.size() / channels);
    for (std::size_t i = index; i < interleaved.size(); i += channels) {
        samples.push_back(interleaved[i]);
    }
    return samples;
}

}  // namespace tarn::test
