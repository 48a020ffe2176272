#pragma once

#include <algorithm>
#include <span>
#include <vector>

#include "TarnPlatform/audio/PcmBuffer.h"
#include "TarnPlatform/rendering/AudioNode.h"
#include "platform_audio/Signal.h"

namespace tarn::test {

constexpr double playbackRate = 24000;

inline PcmBuffer playbackBuffer(const std::vector<float>& samples) {
    return bufferOf({.commonFormat = CommonFormat::float32,
                     .sampleRate = playbackRate,
                     .channelCount = 1,
                     .interleaved = false,
                     .channelLayout = std::nullopt},
                    {samples});
}

/// As an engine would have it: blocks of one size, filled with rubbish before.
inline std::vector<float> render(AudioNode& node, std::size_t frames, std::size_t block = 240) {
    std::vector<float> out(frames, 1234.0F);
    for (std::size_t at = 0; at < frames; at += block) {
        node.renderRt(std::span(out).subspan(at, std::min(block, frames - at)));
    }
    return out;
}

/// Plays fixed samples once, at the pace it is asked.
class Tape : public AudioNode {
public:
    explicit Tape(std::vector<float> samples) : samples_(std::move(samples)) {}

    void renderRt(std::span<float> out) noexcept override { renderPulledRt(out); }
    std::size_t pullRt(std::span<float> out) noexcept override {
        const auto count = std::min(out.size(), samples_.size() - at_);
        std::copy_n(samples_.begin() + static_cast<std::ptrdiff_t>(at_), count, out.begin());
        at_ += count;
        return count;
    }

private:
    std::vector<float> samples_;
    std::size_t at_ = 0;
};

/// One after another: begin, begin + 1, … over 65536.
inline std::vector<float> counting(std::size_t begin, std::size_t count) {
    std::vector<float> samples(count);
    for (std::size_t i = 0; i < count; ++i) {
        samples[i] = static_cast<float>(begin + i) / 65536;
    }
    return samples;
}

}  // namespace tarn::test
