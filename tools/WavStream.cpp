#include "WavStream.h"

#include <algorithm>
#include <bit>
#include <limits>
#include <string_view>

namespace tarn::cli {
namespace {

constexpr std::size_t mostHeader = std::size_t{1} << 20;
/// Programs that do not know the length yet write this or more, or 0.
constexpr std::uint32_t unknownLength = 0x7FFF0000;
constexpr std::uint32_t linearTag = 1;
constexpr std::uint32_t floatTag = 3;
constexpr std::uint32_t extensibleTag = 0xFFFE;

std::uint64_t little(std::span<const std::byte> bytes, std::size_t at, std::size_t count) {
    std::uint64_t value = 0;
    for (std::size_t i = 0; i < count; ++i) {
        value |= std::to_integer<std::uint64_t>(bytes[at + i]) << (8 * i);
    }
    return value;
}

std::string_view nameAt(std::span<const std::byte> bytes, std::size_t at) {
    return {reinterpret_cast<const char*>(bytes.data()) + at, 4};
}

}  // namespace

void WavStream::append(std::span<const std::byte> bytes) {
    bytes_.insert(bytes_.end(), bytes.begin(), bytes.end());
    if (kind_ == Kind::incomplete) {
        readHeader();
    }
}

void WavStream::readHeader() {
    if (bytes_.size() < 12) {
        return;
    }
    if (nameAt(bytes_, 0) != "RIFF" || nameAt(bytes_, 8) != "WAVE") {
        kind_ = Kind::whole;
        return;
    }
    bool isKnown = false;
    for (std::size_t at = 12; at + 8 <= bytes_.size();) {
        const auto size = static_cast<std::uint32_t>(little(bytes_, at + 4, 4));
        const std::string_view name = nameAt(bytes_, at);
        at += 8;
        if (name == "data") {
            const bool isEndless = size == 0 || size >= unknownLength;
            kind_ = isKnown ? Kind::linear : isEndless ? Kind::endless : Kind::whole;
            if (isKnown) {
                left_ = isEndless ? std::numeric_limits<std::uint64_t>::max() : size;
                bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(at));
            }
            return;
        }
        if (size > mostHeader || at > mostHeader) {
            kind_ = Kind::whole;
            return;
        }
        if (at + size > bytes_.size()) {
            return;
        }
        if (name == "fmt ") {
            isKnown = readFormat(std::span(bytes_).subspan(at, size));
        }
        at += size + size % 2;
    }
}

bool WavStream::readFormat(std::span<const std::byte> chunk) {
    if (chunk.size() < 16) {
        return false;
    }
    auto tag = little(chunk, 0, 2);
    if (tag == extensibleTag && chunk.size() >= 26) {
        tag = little(chunk, 24, 2);
    }
    const auto channels = static_cast<std::uint32_t>(little(chunk, 2, 2));
    const auto rate = static_cast<std::uint32_t>(little(chunk, 4, 4));
    const auto bits = little(chunk, 14, 2);
    format_ = {CommonFormat::float32, static_cast<double>(rate), channels, true, std::nullopt};
    sampleBytes_ = bits / 8;
    isFloat_ = tag == floatTag;
    return bits % 8 == 0 && channels >= 1 && channels <= PcmBuffer::mostChannels && rate >= 1000 &&
           rate <= 768000 &&
           (tag == linearTag ? bits >= 8 && bits <= 32 : isFloat_ && (bits == 32 || bits == 64));
}

std::size_t WavStream::bytesOf(std::int64_t milliseconds) const {
    const auto frames =
        static_cast<std::size_t>(format_.sampleRate * static_cast<double>(milliseconds) / 1000);
    return std::max<std::size_t>(1, frames) * sampleBytes_ * format_.channelCount;
}

float WavStream::sampleAt(std::size_t at) const {
    const auto raw = little(bytes_, at, sampleBytes_);
    if (isFloat_) {
        return sampleBytes_ == 4 ? std::bit_cast<float>(static_cast<std::uint32_t>(raw))
                                 : static_cast<float>(std::bit_cast<double>(raw));
    }
    if (sampleBytes_ == 1) {  // samples of one byte are unsigned
        return (static_cast<float>(raw) - 128) / 128;
    }
    const auto left = static_cast<std::uint32_t>(raw << (8 * (4 - sampleBytes_)));
    return static_cast<float>(static_cast<std::int32_t>(left)) / 2147483648.0F;
}

std::optional<PcmBuffer> WavStream::decode() {
    const std::size_t frameBytes = sampleBytes_ * format_.channelCount;
    const auto there = std::min<std::uint64_t>(bytes_.size(), left_);
    const auto frames = static_cast<std::uint32_t>(there / frameBytes);
    auto buffer = frames > 0 ? PcmBuffer::make(format_, frames) : std::nullopt;
    if (!buffer) {
        left_ = left_ < frameBytes ? 0 : left_;
        return std::nullopt;
    }
    buffer->setFrameLength(frames);
    for (std::size_t i = 0; i < std::size_t{frames} * format_.channelCount; ++i) {
        buffer->floatChannelData()[i] = sampleAt(i * sampleBytes_);
    }
    const std::size_t taken = frames * frameBytes;
    bytes_.erase(bytes_.begin(), bytes_.begin() + static_cast<std::ptrdiff_t>(taken));
    if (left_ != std::numeric_limits<std::uint64_t>::max()) {
        left_ -= taken;
        left_ = left_ < frameBytes ? 0 : left_;
    }
    return buffer;
}

}  // namespace tarn::cli
