#include "MainMixerNode.h"

#include <algorithm>
#include <functional>

namespace tarn {
namespace {

constexpr std::size_t unpreparedFrames = 1024;  // served at once where nobody called `prepare`

}  // namespace

MainMixerNode::MainMixerNode() : part_(unpreparedFrames) {}

void MainMixerNode::addSource(AudioNode* source) {
    more_.push_back(source);
}

void MainMixerNode::prepare(std::uint32_t maxFrames) {
    AudioNode::prepare(maxFrames);
    for (auto* const other : more_) {
        other->prepare(maxFrames);
    }
    part_.resize(std::max<std::size_t>(part_.size(), maxFrames));
}

void MainMixerNode::renderRt(std::span<float> out) noexcept {
    for (auto rest = out; !rest.empty();) {
        const auto piece = rest.first(std::min(rest.size(), part_.size()));
        rest = rest.subspan(piece.size());
        if (source() != nullptr) {
            source()->renderRt(piece);
        } else {
            std::ranges::fill(piece, 0.0F);
        }
        for (auto* const other : more_) {
            const auto part = std::span(part_).first(piece.size());
            other->renderRt(part);
            std::ranges::transform(piece, part, piece.begin(), std::plus<>());
        }
        limiter_.limitRt(piece);
    }
}

}  // namespace tarn
