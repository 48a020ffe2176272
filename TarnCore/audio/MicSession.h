#pragma once

#include <optional>

#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn {

/// The microphone's side of a session: what happens to a captured buffer before it is resampled.
class MicSession {
public:
    /// A new planar one-channel buffer with the first channel of `buffer` in the same sample type, rate and
    /// capacity. Microphones with several channels often carry the voice on the first and a loopback or
    /// nothing on the others, so the first is taken as it is. Nothing for samples other than Float32, Int16
    /// and Int32, and when the memory is not to be had.
    static std::optional<PcmBuffer> extractChannel0(const PcmBuffer& buffer);
};

}  // namespace tarn
