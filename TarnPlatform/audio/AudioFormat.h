#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tarn {

/// How one sample is stored, in the machine's byte order.
enum class CommonFormat : std::uint8_t {
    other,    ///< linear PCM of a kind that is not converted here
    float32,  ///< full scale is -1.0 to 1.0
    float64,  ///< full scale is -1.0 to 1.0
    int16,
    int32,
};

/// Where a channel is meant to be heard.
enum class ChannelPosition : std::uint8_t {
    unknown,
    frontLeft,
    frontRight,
    frontCentre,
    lowFrequency,
    rearLeft,
    rearRight,
    rearCentre,
    sideLeft,
    sideRight,
};

using ChannelLayout = std::vector<ChannelPosition>;  ///< one position for each channel, in order

/// Describes linear PCM. Value type; two formats are equal when every field is.
struct AudioFormat {
    CommonFormat commonFormat = CommonFormat::other;
    double sampleRate = 0;  ///< Hz
    std::uint32_t channelCount = 0;
    bool interleaved = false;                    ///< false: one plane for each channel
    std::optional<ChannelLayout> channelLayout;  ///< absent: the usual order for the channel count

    bool operator==(const AudioFormat&) const = default;

    std::size_t bytesPerSample() const;  ///< 0 for `other`

    std::string description() const;  ///< for diagnostics: "2 ch, 48000 Hz, Float32, interleaved"
};

}  // namespace tarn
