#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "TarnPlatform/audio/AudioFormat.h"

namespace tarn {

/// One plane of samples, or the only one of an interleaved format.
struct AudioBuffer {
    const std::byte* data = nullptr;
    std::size_t byteSize = 0;
};

/// What a capture hands out at a time: a view of memory that is valid during the call that brings it.
struct SampleBuffer {
    bool valid = false;
    std::optional<AudioFormat> formatDescription;
    std::uint64_t numSamples = 0;                                 ///< frames
    std::optional<std::span<const AudioBuffer>> audioBufferList;  ///< absent: cannot be had
};

}  // namespace tarn
