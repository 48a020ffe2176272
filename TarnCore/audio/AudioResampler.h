#pragma once

#include <cstddef>
#include <optional>
#include <vector>

#include "TarnPlatform/audio/AudioConverter.h"
#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn {

/// Turns captured buffers of any format into the bytes that the service takes: signed 16-bit little-endian,
/// 16000 Hz, one channel.
///
/// One for each running session, fed from one context at a time; not locked. Consecutive buffers of one
/// format are one continuous stream. Another format begins a new one, and what the filter still held of the
/// old is dropped.
class AudioResampler {
public:
    AudioResampler();

    /// The bytes for one buffer, or nothing when there is nothing to send: an empty buffer, a format that
    /// cannot be converted (said in the log once for each change of format), a failed conversion (said in the
    /// log). Whatever the outcome, the next buffer is welcome. A buffer that brings its conversion along is
    /// not converted again.
    std::optional<std::vector<std::byte>> process(const PcmBuffer& buffer);

    const AudioFormat& dstFormat() const { return dstFormat_; }

private:
    std::optional<AudioConverter> converter_;  // absent before the first buffer and for a hopeless format
    std::optional<AudioFormat> srcFormat_;     // the format that converter_ was, or could not be, made for
    const AudioFormat dstFormat_;
};

}  // namespace tarn
