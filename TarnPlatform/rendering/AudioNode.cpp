#include "AudioNode.h"

#include <algorithm>

namespace tarn {

void AudioNode::prepare(std::uint32_t maxFrames) {
    if (source_ != nullptr) {
        source_->prepare(maxFrames);
    }
}

std::size_t AudioNode::pullRt(std::span<float> out) noexcept {
    renderRt(out);
    return out.size();
}

void AudioNode::renderPulledRt(std::span<float> out) noexcept {
    std::ranges::fill(out.subspan(pullRt(out)), 0.0F);
}

}  // namespace tarn
