#pragma once

#include <cstdint>
#include <vector>

#include "AudioNode.h"
#include "PeakLimiter.h"

namespace tarn {

/// The graph's end: the sum of its sources, within full scale (see PeakLimiter).
class MainMixerNode : public AudioNode {
public:
    MainMixerNode();

    /// A source besides the one of `setSource`, as that one is. Thread: not RT, while nobody renders.
    void addSource(AudioNode* source);

    void prepare(std::uint32_t maxFrames) override;
    void renderRt(std::span<float> out) noexcept override;

private:
    std::vector<AudioNode*> more_;
    std::vector<float> part_;  // one source's share
    PeakLimiter limiter_;
};

}  // namespace tarn
