// What happens to a captured buffer before it is resampled.
#include <cmath>
#include <cstddef>
#include <cstdint>

#include "MicSession.h"

namespace tarn {
namespace {

template <typename Sample>
void copyFirstChannel(const Sample* from, std::size_t stride, std::size_t frames, Sample* to) {
    for (std::size_t i = 0; i < frames; ++i) {
        to[i] = from[i * stride];
    }
}

}  // namespace

std::optional<PcmBuffer> MicSession::extractChannel0(const PcmBuffer& buffer) {
    const auto& format = buffer.format();
    auto mono = PcmBuffer::make({format.commonFormat, format.sampleRate, 1, false, std::nullopt},
                                buffer.frameCapacity());
    if (!mono) {
        return std::nullopt;
    }
    const auto frames = buffer.frameLength();
    mono->setFrameLength(frames);
    if (frames == 0) {
        return mono;
    }
    const std::size_t stride = format.interleaved ? format.channelCount : 1;
    switch (format.commonFormat) {
        case CommonFormat::float32:
            copyFirstChannel(buffer.floatChannelData(), stride, frames, mono->floatChannelData());
            return mono;
        case CommonFormat::int16:
            copyFirstChannel(buffer.int16ChannelData(), stride, frames, mono->int16ChannelData());
            return mono;
        case CommonFormat::int32:
            copyFirstChannel(buffer.int32ChannelData(), stride, frames, mono->int32ChannelData());
            return mono;
        case CommonFormat::float64:
        case CommonFormat::other:
            break;
    }
    return std::nullopt;
}

float MicSession::rms(const PcmBuffer& buffer) {
    const float* const samples = buffer.floatChannelData();
    const std::uint32_t frames = buffer.frameLength();
    if (samples == nullptr || frames == 0) {
        return 0;
    }
    const std::size_t stride = buffer.format().interleaved ? buffer.format().channelCount : 1;
    float sum = 0;
    for (std::size_t i = 0; i < frames; ++i) {
        sum += samples[i * stride] * samples[i * stride];
    }
    return std::sqrt(sum / static_cast<float>(frames));
}

}  // namespace tarn
