#include "Capture.h"

#include <cmath>
#include <numbers>

namespace tarn::bench {

PcmBuffer capturedBuffer(int milliseconds) {
    const AudioFormat format{CommonFormat::float32, captureRate, 2, true, std::nullopt};
    const auto frames = static_cast<std::uint32_t>(captureRate * milliseconds / 1000);
    auto buffer = PcmBuffer::make(format, frames).value();
    buffer.setFrameLength(frames);
    auto* const samples = buffer.floatChannelData();
    for (std::size_t i = 0; i < frames; ++i) {
        const double angle = 2 * std::numbers::pi * static_cast<double>(i) / captureRate;
        const auto value = static_cast<float>(0.3 * std::sin(200 * angle) + 0.1 * std::sin(2100 * angle));
        samples[2 * i] = value;
        samples[2 * i + 1] = value;
    }
    return buffer;
}

}  // namespace tarn::bench
