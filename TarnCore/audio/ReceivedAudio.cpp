#include "ReceivedAudio.h"

#include <cstdint>
#include <limits>

#include "ServiceAudio.h"

namespace tarn {

AudioFormat playbackFormat() {
    return {CommonFormat::float32, qwenOutputSampleRate, qwenOutputChannels, false, std::nullopt};
}

std::optional<PcmBuffer> decodeReceivedAudio(std::span<const std::byte> bytes) {
    const auto frames = bytes.size() / 2;
    if (frames == 0 || frames > std::numeric_limits<std::uint32_t>::max()) {
        return std::nullopt;
    }
    auto buffer = PcmBuffer::make(playbackFormat(), static_cast<std::uint32_t>(frames));
    if (!buffer) {
        return std::nullopt;
    }
    buffer->setFrameLength(static_cast<std::uint32_t>(frames));
    float* const samples = buffer->floatChannelData();
    const auto* const from = bytes.data();
    for (std::size_t i = 0; i < frames; ++i) {
        samples[i] = static_cast<float>(serviceSample(from, i)) * 3.0517578125e-05F;
    }
    return buffer;
}

}  // namespace tarn
