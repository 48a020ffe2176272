#include "TimedRing.h"

#include <algorithm>

namespace tarn {

TimedRing::TimedRing(std::size_t frames, std::size_t channels)
    : ring_(frames, channels), channels_(channels) {}

void TimedRing::pushRt(std::int64_t time, std::span<const float> interleaved) noexcept {
    const std::size_t frames = interleaved.size() / channels_;
    const std::uint64_t pushed = pushed_.load(std::memory_order_relaxed);
    if (pushed - popped_.load(std::memory_order_acquire) == mostBlocks) {
        droppedBlocks_.fetch_add(frames, std::memory_order_relaxed);
        return;
    }
    const std::uint64_t droppedBefore = ring_.dropped();
    ring_.writeRt(frames, [&](std::span<float> piece, std::size_t before) {
        std::ranges::copy(interleaved.subspan(before * channels_, piece.size()), piece.begin());
    });
    const std::size_t taken = frames - static_cast<std::size_t>(ring_.dropped() - droppedBefore);
    if (taken > 0) {
        blocks_[pushed % mostBlocks] = {.time = time, .frames = taken};
        pushed_.store(pushed + 1, std::memory_order_release);
    }
}

bool TimedRing::pop(std::int64_t& time, std::vector<float>& samples) {
    const std::uint64_t popped = popped_.load(std::memory_order_relaxed);
    if (popped == pushed_.load(std::memory_order_acquire)) {
        return false;
    }
    const Block block = blocks_[popped % mostBlocks];
    time = block.time;
    samples.clear();
    for (std::size_t left = block.frames; left > 0;) {
        const auto piece = ring_.readable();
        const std::size_t taken = std::min(left, piece.size() / channels_);
        samples.insert(samples.end(), piece.begin(),
                       piece.begin() + static_cast<std::ptrdiff_t>(taken * channels_));
        ring_.consume(taken);
        left -= taken;
    }
    popped_.store(popped + 1, std::memory_order_release);
    return true;
}

}  // namespace tarn
