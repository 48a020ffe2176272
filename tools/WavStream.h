#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn::cli {

/// The samples of a WAV that comes piece by piece, whose end need not be known. Not thread-safe.
class WavStream {
public:
    enum class Kind : unsigned char {
        incomplete,  ///< more of the header is to come
        linear,      ///< can be decoded as it comes
        whole,       ///< of another encoding or make, and finite: a library can read it once all is there
        endless,     ///< of another encoding, and its length is not told
    };

    /// Takes more bytes. `kind` may change with them until it is no longer `incomplete`.
    void append(std::span<const std::byte> bytes);
    Kind kind() const { return kind_; }
    /// All that was appended and not decoded.
    const std::vector<std::byte>& bytes() const { return bytes_; }
    /// Bytes of so many milliseconds of sound. Requires: linear.
    std::size_t bytesOf(std::int64_t milliseconds) const;
    /// Float32, interleaved. Requires: linear.
    const AudioFormat& format() const { return format_; }

    /// The whole frames that have come since; nothing when there are none. Requires: linear.
    std::optional<PcmBuffer> decode();
    /// Everything that the header announced has been decoded.
    bool isOver() const { return left_ == 0; }

private:
    void readHeader();
    bool readFormat(std::span<const std::byte> chunk);
    float sampleAt(std::size_t at) const;

    std::vector<std::byte> bytes_;
    Kind kind_ = Kind::incomplete;
    AudioFormat format_;
    std::size_t sampleBytes_ = 0;
    bool isFloat_ = false;
    std::uint64_t left_ = 1;  ///< bytes of sound still to come
};

}  // namespace tarn::cli
