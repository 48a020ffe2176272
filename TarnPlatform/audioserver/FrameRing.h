#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace tarn {

/// Frames of interleaved samples from one writer, which may be a real-time thread, to one reader, without a
/// lock. Full: the newest frames are refused and counted. Empty: the reader gets nothing.
class FrameRing {
public:
    /// Takes at least `frames`; all the memory it will ever have.
    FrameRing(std::size_t frames, std::size_t channels);

    /// Room for as many as `frames` more, in two pieces since the ring may wrap: `fill` is called with each
    /// piece (interleaved; how many frames came before it) and leaves its samples there. The frames become
    /// the reader's when this returns. What has no room is dropped. Thread: the writer's (RT).
    template <typename Fill>
    void writeRt(std::size_t frames, Fill&& fill) noexcept {
        const std::uint64_t written = written_.load(std::memory_order_relaxed);
        const std::size_t room =
            capacity_ - static_cast<std::size_t>(written - read_.load(std::memory_order_acquire));
        const std::size_t taken = frames < room ? frames : room;
        const std::size_t at = static_cast<std::size_t>(written % capacity_);
        const std::size_t first = taken < capacity_ - at ? taken : capacity_ - at;
        if (first > 0) {
            fill(std::span(samples_).subspan(at * channels_, first * channels_), std::size_t{0});
        }
        if (taken > first) {
            fill(std::span(samples_).first((taken - first) * channels_), first);
        }
        written_.store(written + taken, std::memory_order_release);
        if (taken < frames) {
            dropped_.fetch_add(frames - taken, std::memory_order_relaxed);
        }
    }

    /// What can be read in one piece, oldest first; empty: nothing. Valid until `consume`.
    /// Thread: the reader's.
    std::span<const float> readable() const noexcept;
    /// Gives `frames` of what was readable back to the writer. Thread: the reader's.
    void consume(std::size_t frames) noexcept;

    /// Frames refused since the beginning. Thread: any.
    std::uint64_t dropped() const noexcept { return dropped_.load(std::memory_order_relaxed); }

private:
    // Fixed at birth.
    const std::size_t capacity_;
    const std::size_t channels_;
    std::vector<float> samples_;
    // Counts of frames since the beginning; the difference is what lies in the ring.
    std::atomic<std::uint64_t> written_{0};  // changed by the writer
    std::atomic<std::uint64_t> read_{0};     // changed by the reader
    std::atomic<std::uint64_t> dropped_{0};
};

}  // namespace tarn
