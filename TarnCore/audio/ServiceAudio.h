#pragma once

#include <cstdint>

namespace tarn {

/// What the service takes and gives: signed 16-bit little-endian PCM without a header.
inline constexpr double qwenInputSampleRate = 16000.0;   ///< Hz, sent
inline constexpr std::uint32_t qwenInputChannels = 1;    ///< sent
inline constexpr double qwenOutputSampleRate = 24000.0;  ///< Hz, received
inline constexpr std::uint32_t qwenOutputChannels = 1;   ///< received
inline constexpr int qwenChunkBytes = 1600;              ///< one sent chunk: 800 samples, 50 ms

}  // namespace tarn
