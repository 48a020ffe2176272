#pragma once

#include <cstdint>
#include <span>

#include "PcmBuffer.h"

namespace tarn {

/// Samples of any type to and from float, full scale to full scale.

/// Reads frames `first` and on of one channel, as many as `samples` has room for. Integers map to -1.0 to
/// just below 1.0. NaN and infinite samples are read as silence, and anything above `loudest` is held there,
/// so that one broken sample never spoils those after it in a filter. Requires: the frames and the channel
/// are in the buffer.
void readChannel(const PcmBuffer& buffer, std::uint32_t channel, std::uint32_t first,
                 std::span<float> samples);

/// Writes all of `samples` to one channel from frame `first` on. Integers are rounded to the nearest and
/// clipped at full scale; floats are kept as they are.
/// Requires: the frames and the channel are within the buffer's capacity.
void writeChannel(std::span<const float> samples, PcmBuffer& buffer, std::uint32_t channel,
                  std::uint32_t first);

inline constexpr float loudest = 16.0F;  ///< 24 dB above full scale

}  // namespace tarn
