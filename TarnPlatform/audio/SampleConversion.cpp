#include "SampleConversion.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace tarn {
namespace {

template <typename Sample>
float toFloat(Sample sample) {
    if constexpr (std::is_integral_v<Sample>) {
        constexpr auto scale = 1.0F / -static_cast<float>(std::numeric_limits<Sample>::min());
        return static_cast<float>(sample) * scale;
    } else {
        // NaN compares false and becomes silence, as infinity does.
        const Sample finite = std::abs(sample) <= std::numeric_limits<Sample>::max() ? sample : Sample{0};
        return static_cast<float>(std::clamp<Sample>(finite, -Sample{loudest}, Sample{loudest}));
    }
}

template <typename Sample>
Sample fromFloat(float value) {
    if constexpr (std::is_integral_v<Sample>) {
        // A float has 24 bits of mantissa, so the limits of a 32-bit integer need a double.
        using Wide = std::conditional_t<sizeof(Sample) < sizeof(float), float, double>;
        constexpr auto lowest = static_cast<Wide>(std::numeric_limits<Sample>::min());
        constexpr auto highest = static_cast<Wide>(std::numeric_limits<Sample>::max());
        const Wide scaled = static_cast<Wide>(value) * -lowest;
        const Wide rounded = scaled + std::copysign(Wide{0.5}, scaled);
        return static_cast<Sample>(static_cast<std::int32_t>(std::clamp(rounded, lowest, highest)));
    } else {
        return Sample{value};
    }
}

// The frequent strides get loops of their own, which the compiler turns into vector code.
template <typename Sample>
void readStrided(const Sample* from, std::size_t stride, std::span<float> samples) {
    const auto count = samples.size();
    float* const to = samples.data();
    if (stride == 1) {
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = toFloat(from[i]);
        }
    } else if (stride == 2) {
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = toFloat(from[2 * i]);
        }
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = toFloat(from[stride * i]);
        }
    }
}

template <typename Sample>
void writeStrided(std::span<const float> samples, std::size_t stride, Sample* to) {
    const auto count = samples.size();
    const float* const from = samples.data();
    if (stride == 1) {
        for (std::size_t i = 0; i < count; ++i) {
            to[i] = fromFloat<Sample>(from[i]);
        }
    } else {
        for (std::size_t i = 0; i < count; ++i) {
            to[stride * i] = fromFloat<Sample>(from[i]);
        }
    }
}

// Where a channel's samples lie.
struct Place {
    std::uint32_t plane;
    std::size_t stride;
    std::size_t offset;  // samples

    Place(const AudioFormat& format, std::uint32_t channel, std::uint32_t first)
        : plane(format.interleaved ? 0 : channel),
          stride(format.interleaved ? format.channelCount : 1),
          offset(first * stride + (format.interleaved ? channel : 0)) {}
};

}  // namespace

void readChannel(const PcmBuffer& buffer, std::uint32_t channel, std::uint32_t first,
                 std::span<float> samples) {
    const Place place(buffer.format(), channel, first);
    if (const auto* floats = buffer.floatChannelData(place.plane)) {
        readStrided(floats + place.offset, place.stride, samples);
    } else if (const auto* shorts = buffer.int16ChannelData(place.plane)) {
        readStrided(shorts + place.offset, place.stride, samples);
    } else if (const auto* integers = buffer.int32ChannelData(place.plane)) {
        readStrided(integers + place.offset, place.stride, samples);
    } else if (const auto* doubles = buffer.float64ChannelData(place.plane)) {
        readStrided(doubles + place.offset, place.stride, samples);
    }
}

void writeChannel(std::span<const float> samples, PcmBuffer& buffer, std::uint32_t channel,
                  std::uint32_t first) {
    const Place place(buffer.format(), channel, first);
    if (auto* shorts = buffer.int16ChannelData(place.plane)) {
        writeStrided(samples, place.stride, shorts + place.offset);
    } else if (auto* floats = buffer.floatChannelData(place.plane)) {
        writeStrided(samples, place.stride, floats + place.offset);
    } else if (auto* integers = buffer.int32ChannelData(place.plane)) {
        writeStrided(samples, place.stride, integers + place.offset);
    } else if (auto* doubles = buffer.float64ChannelData(place.plane)) {
        writeStrided(samples, place.stride, doubles + place.offset);
    }
}

}  // namespace tarn
