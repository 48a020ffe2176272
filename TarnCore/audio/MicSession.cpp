#include "MicSession.h"

#include <cstddef>
#include <cstdint>

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

}  // namespace tarn
