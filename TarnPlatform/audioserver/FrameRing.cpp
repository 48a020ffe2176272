#include "FrameRing.h"

#include <algorithm>

namespace tarn {

FrameRing::FrameRing(std::size_t frames, std::size_t channels)
    : capacity_(std::max<std::size_t>(frames, 1)), channels_(channels), samples_(capacity_ * channels) {}

std::span<const float> FrameRing::readable() const noexcept {
    const std::uint64_t read = read_.load(std::memory_order_relaxed);
    const auto held = static_cast<std::size_t>(written_.load(std::memory_order_acquire) - read);
    const auto at = static_cast<std::size_t>(read % capacity_);
    return std::span(samples_).subspan(at * channels_, std::min(held, capacity_ - at) * channels_);
}

void FrameRing::consume(std::size_t frames) noexcept {
    read_.store(read_.load(std::memory_order_relaxed) + frames, std::memory_order_release);
}

}  // namespace tarn
