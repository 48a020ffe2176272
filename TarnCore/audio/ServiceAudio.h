#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <span>
#include <vector>

namespace tarn {

/// What the service takes and gives: signed 16-bit little-endian PCM without a header.
inline constexpr double qwenInputSampleRate = 16000.0;   ///< Hz, sent
inline constexpr std::uint32_t qwenInputChannels = 1;    ///< sent
inline constexpr double qwenOutputSampleRate = 24000.0;  ///< Hz, received
inline constexpr std::uint32_t qwenOutputChannels = 1;   ///< received
inline constexpr int qwenChunkBytes = 1600;              ///< one sent chunk: 800 samples, 50 ms

/// The service's byte layout, little-endian whatever this machine is.
inline std::vector<std::byte> toServiceBytes(std::span<const std::int16_t> samples) {
    std::vector<std::byte> bytes(samples.size_bytes());
    if constexpr (std::endian::native == std::endian::little) {
        std::memcpy(bytes.data(), samples.data(), bytes.size());
    } else {
        for (std::size_t i = 0; i < samples.size(); ++i) {
            const auto value = static_cast<std::uint16_t>(samples[i]);
            bytes[2 * i] = static_cast<std::byte>(value & 0xFF);
            bytes[2 * i + 1] = static_cast<std::byte>(value >> 8);
        }
    }
    return bytes;
}

/// Sample `index` of `bytes`. Requires: 2 * index + 1 lies within.
inline std::int16_t serviceSample(const std::byte* bytes, std::size_t index) {
    std::uint16_t value = 0;
    std::memcpy(&value, bytes + 2 * index, sizeof value);
    if constexpr (std::endian::native == std::endian::big) {
        value = static_cast<std::uint16_t>(value << 8 | value >> 8);
    }
    return static_cast<std::int16_t>(value);
}

}  // namespace tarn
