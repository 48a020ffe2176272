#pragma once

#include <array>
#include <atomic>
#include <cstdint>
#include <span>
#include <vector>

#include "TarnPlatform/audioserver/FrameRing.h"

namespace tarn {

/// Blocks of interleaved samples, each with the time it belongs to, from one writer, which may be a real-time
/// thread, to one reader, without a lock. Full: what has no room is dropped and counted.
class TimedRing {
public:
    TimedRing(std::size_t frames, std::size_t channels);

    /// Thread: the writer's (RT). Requires: whole frames.
    void pushRt(std::int64_t time, std::span<const float> interleaved) noexcept;

    /// The oldest block in place of what `samples` holds; false: there is none. Thread: the reader's.
    bool pop(std::int64_t& time, std::vector<float>& samples);

    /// Frames dropped since the beginning. Thread: any.
    std::uint64_t dropped() const noexcept {
        return ring_.dropped() + droppedBlocks_.load(std::memory_order_relaxed);
    }

private:
    static constexpr std::size_t mostBlocks = 1024;

    struct Block {
        std::int64_t time = 0;
        std::size_t frames = 0;
    };

    FrameRing ring_;
    const std::size_t channels_;
    std::array<Block, mostBlocks> blocks_{};
    std::atomic<std::uint64_t> pushed_{0};         // changed by the writer
    std::atomic<std::uint64_t> popped_{0};         // changed by the reader
    std::atomic<std::uint64_t> droppedBlocks_{0};  // their frames
};

}  // namespace tarn
