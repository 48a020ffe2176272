#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "AudioFormat.h"

namespace tarn {

/// Samples of one format in memory of its own. Movable, not copyable.
///
/// A planar format has one plane for each channel, an interleaved one has a single plane with the channels of
/// a frame side by side. New memory is silence. Not thread-safe.
class PcmBuffer {
public:
    static constexpr std::size_t mostBytes = std::size_t{1} << 30;
    static constexpr std::uint32_t mostChannels = 64;

    /// Nothing when the memory cannot be allocated or would exceed `mostBytes`, when the channels are none or
    /// more than `mostChannels`, or when the size of a sample is not known.
    static std::optional<PcmBuffer> make(const AudioFormat& format, std::uint32_t frameCapacity);

    const AudioFormat& format() const { return format_; }
    std::uint32_t frameCapacity() const { return frameCapacity_; }
    std::uint32_t frameLength() const { return frameLength_; }

    /// Frames that hold sound, at most the capacity: more is taken as the capacity.
    void setFrameLength(std::uint32_t frames);

    std::uint32_t planeCount() const { return format_.interleaved ? 1 : format_.channelCount; }

    /// The first sample of a plane, or null when the samples are of another type or there is no such plane.
    /// Valid as long as the buffer.
    const float* floatChannelData(std::uint32_t plane = 0) const;
    float* floatChannelData(std::uint32_t plane = 0);
    const double* float64ChannelData(std::uint32_t plane = 0) const;
    double* float64ChannelData(std::uint32_t plane = 0);
    const std::int16_t* int16ChannelData(std::uint32_t plane = 0) const;
    std::int16_t* int16ChannelData(std::uint32_t plane = 0);
    const std::int32_t* int32ChannelData(std::uint32_t plane = 0) const;
    std::int32_t* int32ChannelData(std::uint32_t plane = 0);

    /// The samples of a plane up to the frame length, whatever their type. No such plane: empty. Valid until
    /// the frame length changes.
    std::span<std::byte> bytes(std::uint32_t plane = 0);

    /// This piece of a stream of sound in another format, worked out by whoever hands it to several
    /// listeners.
    struct Conversion {
        AudioFormat format;                           ///< interleaved, or of one channel
        std::optional<std::vector<std::byte>> bytes;  ///< nothing: it gave no sound
    };
    const std::optional<Conversion>& conversion() const { return conversion_; }
    void setConversion(Conversion conversion) { conversion_ = std::move(conversion); }

private:
    struct Free {
        void operator()(std::byte* memory) const { std::free(memory); }
    };

    PcmBuffer(const AudioFormat& format, std::uint32_t frameCapacity, std::size_t planeBytes,
              std::byte* memory);

    std::byte* plane(CommonFormat type, std::uint32_t index) const;

    AudioFormat format_;
    std::uint32_t frameCapacity_;
    std::uint32_t frameLength_ = 0;
    std::size_t planeBytes_;
    std::unique_ptr<std::byte, Free> memory_;
    std::optional<Conversion> conversion_;
};

}  // namespace tarn
