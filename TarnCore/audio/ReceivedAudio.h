#pragma once

#include <cstddef>
#include <optional>
#include <span>

#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn {

/// The format in which translated speech is played: Float32, 24000 Hz, one channel, planar.
AudioFormat playbackFormat();

/// Translated speech as received (signed 16-bit little-endian, 24000 Hz, one channel) in the playback format:
/// every sample times 1/32768. A trailing odd byte is ignored. Nothing for less than one sample, or when the
/// memory is not to be had.
std::optional<PcmBuffer> decodeReceivedAudio(std::span<const std::byte> bytes);

}  // namespace tarn
