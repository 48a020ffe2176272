#include "PcmBuffer.h"

#include <algorithm>

namespace tarn {

std::optional<PcmBuffer> PcmBuffer::make(const AudioFormat& format, std::uint32_t frameCapacity) {
    const auto sampleBytes = format.bytesPerSample();
    if (sampleBytes == 0 || format.channelCount == 0 || format.channelCount > mostChannels) {
        return std::nullopt;
    }
    const auto planes = format.interleaved ? 1 : format.channelCount;
    // Planes that are multiples of 16 bytes long are all as well aligned as the first.
    const auto planeBytes =
        (std::size_t{frameCapacity} * sampleBytes * (format.channelCount / planes) + 15) / 16 * 16;
    if (planeBytes * planes > mostBytes) {
        return std::nullopt;
    }
    // calloc gives silence, mostly without touching the memory, and fails by null, where a vector would
    // throw.
    auto* const memory =
        static_cast<std::byte*>(std::calloc(std::max<std::size_t>(planeBytes * planes, 1), 1));
    if (memory == nullptr) {
        return std::nullopt;
    }
    return PcmBuffer(format, frameCapacity, planeBytes, memory);
}

PcmBuffer::PcmBuffer(const AudioFormat& format, std::uint32_t frameCapacity, std::size_t planeBytes,
                     std::byte* memory)
    : format_(format), frameCapacity_(frameCapacity), planeBytes_(planeBytes), memory_(memory) {}

void PcmBuffer::setFrameLength(std::uint32_t frames) {
    frameLength_ = std::min(frames, frameCapacity_);
}

std::byte* PcmBuffer::plane(CommonFormat type, std::uint32_t index) const {
    return type == format_.commonFormat && index < planeCount() ? memory_.get() + index * planeBytes_
                                                                : nullptr;
}

std::span<std::byte> PcmBuffer::bytes(std::uint32_t index) {
    std::byte* const first = plane(format_.commonFormat, index);
    if (first == nullptr) {
        return {};
    }
    const std::size_t perFrame = format_.bytesPerSample() * (format_.channelCount / planeCount());
    return {first, frameLength_ * perFrame};
}

const float* PcmBuffer::floatChannelData(std::uint32_t index) const {
    return reinterpret_cast<const float*>(plane(CommonFormat::float32, index));
}
float* PcmBuffer::floatChannelData(std::uint32_t index) {
    return reinterpret_cast<float*>(plane(CommonFormat::float32, index));
}
const double* PcmBuffer::float64ChannelData(std::uint32_t index) const {
    return reinterpret_cast<const double*>(plane(CommonFormat::float64, index));
}
double* PcmBuffer::float64ChannelData(std::uint32_t index) {
    return reinterpret_cast<double*>(plane(CommonFormat::float64, index));
}
const std::int16_t* PcmBuffer::int16ChannelData(std::uint32_t index) const {
    return reinterpret_cast<const std::int16_t*>(plane(CommonFormat::int16, index));
}
std::int16_t* PcmBuffer::int16ChannelData(std::uint32_t index) {
    return reinterpret_cast<std::int16_t*>(plane(CommonFormat::int16, index));
}
const std::int32_t* PcmBuffer::int32ChannelData(std::uint32_t index) const {
    return reinterpret_cast<const std::int32_t*>(plane(CommonFormat::int32, index));
}
std::int32_t* PcmBuffer::int32ChannelData(std::uint32_t index) {
    return reinterpret_cast<std::int32_t*>(plane(CommonFormat::int32, index));
}

}  // namespace tarn
