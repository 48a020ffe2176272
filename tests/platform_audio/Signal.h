#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <numbers>
#include <optional>
#include <span>
#include <vector>

#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn::test {

inline std::vector<float> tone(double frequency, double rate, double seconds, double amplitude = 0.5) {
    std::vector<float> samples(static_cast<std::size_t>(std::llround(rate * seconds)));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(
            amplitude * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
    }
    return samples;
}

inline double decibels(double ratio) {
    return 20 * std::log10(std::max(ratio, 1e-12));
}

/// What a least-squares fit of one frequency finds in the middle half of `samples`.
struct ToneFit {
    double amplitude;
    double rest;  ///< amplitude of a tone with the power of everything else
};

inline ToneFit fitTone(std::span<const float> samples, double frequency, double rate) {
    const auto middle = samples.subspan(samples.size() / 4, samples.size() / 2);
    const double step = 2 * std::numbers::pi * frequency / rate;
    double ss = 0, cc = 0, sc = 0, xs = 0, xc = 0, xx = 0;
    for (std::size_t i = 0; i < middle.size(); ++i) {
        const double s = std::sin(step * static_cast<double>(i));
        const double c = std::cos(step * static_cast<double>(i));
        const double x = static_cast<double>(middle[i]);
        ss += s * s, cc += c * c, sc += s * c, xs += x * s, xc += x * c, xx += x * x;
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (xs * cc - xc * sc) / determinant;
    const double b = (xc * ss - xs * sc) / determinant;
    const double rest = std::max(xx - a * xs - b * xc, 0.0);
    return {std::hypot(a, b), std::sqrt(2 * rest / static_cast<double>(middle.size()))};
}

/// A buffer whose channels hold `channels`, converted to the format's sample type here and not by the code
/// under test.
inline PcmBuffer bufferOf(const AudioFormat& format, const std::vector<std::vector<float>>& channels) {
    const auto frames = static_cast<std::uint32_t>(channels.front().size());
    auto buffer = PcmBuffer::make(format, frames).value();
    buffer.setFrameLength(frames);
    for (std::uint32_t channel = 0; channel < format.channelCount; ++channel) {
        const std::uint32_t plane = format.interleaved ? 0 : channel;
        for (std::uint32_t frame = 0; frame < frames; ++frame) {
            const std::size_t at =
                format.interleaved ? std::size_t{frame} * format.channelCount + channel : frame;
            const double x = static_cast<double>(channels[channel][frame]);
            if (auto* floats = buffer.floatChannelData(plane)) {
                floats[at] = channels[channel][frame];
            } else if (auto* doubles = buffer.float64ChannelData(plane)) {
                doubles[at] = x;
            } else if (auto* shorts = buffer.int16ChannelData(plane)) {
                shorts[at] = static_cast<std::int16_t>(std::lround(x * 32767));
            } else if (auto* integers = buffer.int32ChannelData(plane)) {
                integers[at] = static_cast<std::int32_t>(std::llround(x * 2147483647.0));
            }
        }
    }
    return buffer;
}

}  // namespace tarn::test
