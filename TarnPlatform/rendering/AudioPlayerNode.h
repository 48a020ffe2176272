#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

#include "AudioNode.h"
#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn {

/// The graph's beginning: plays scheduled buffers back to back, in order, and nothing where there are none.
///
/// Threads: `scheduleBuffer`, `play`, `stop` and the questions may come from any threads that are not RT; a
/// lock keeps them apart, and the audio thread never takes it. Between them and the audio thread stands a
/// linked list: callers append at one end, the audio thread moves on towards it, and what it has left behind
/// is freed by the next caller. `stop` and `keepNewest` put another list in place of the old one, which is
/// freed at once unless the audio thread is just now in it; then a later call, or the destructor, frees it.
/// `skipOldest` takes buffers out of the middle, where the audio thread has not come to yet: of both only one
/// can claim a group of buffers. So no side ever waits for the other, whether or not somebody renders.
class AudioPlayerNode : public AudioNode {
public:
    struct Counters {
        std::uint64_t framesPlayed = 0;    ///< handed on; a stage that reads ahead takes them a little early
        std::uint64_t ranDry = 0;          ///< times that the queue ended in the middle of playing
        std::uint64_t buffersRefused = 0;  ///< of another format, or without memory to queue them
    };

    AudioPlayerNode();
    /// Nobody may render any more.
    ~AudioPlayerNode() override;

    /// Queues a buffer of one Float32 channel at the graph's rate behind all others. The queue has no limit.
    /// A buffer of another format is refused, with a line in the log. Never waits for the audio thread.
    void scheduleBuffer(PcmBuffer buffer);

    /// Drops what has waited longest, and the rest of what is being played, so that at most `frames` stay
    /// queued, in whole buffers. The result is how many were dropped; 0 where no more are queued.
    std::uint64_t keepNewest(std::uint64_t frames);

    /// What was scheduled until now and what comes later belong to different groups, of which `skipOldest`
    /// drops each whole or not at all. Nothing where nothing was scheduled since the last call.
    void endGroup() { groupEnded_ = true; }

    /// Drops whole groups, those that have waited longest first, until at most `frames` stay queued. The one
    /// that has begun to play and the newest one are never dropped. The result is how many were dropped.
    std::uint64_t skipOldest(std::uint64_t frames);

    /// From now on what is queued is played. Until then, and after `stop`, it stays queued.
    void play();

    /// Drops everything that is queued and what is left of the buffer being played. A block that is being
    /// rendered right now may still end with it.
    void stop();

    std::uint64_t queuedFrames() const;  ///< scheduled and not yet played
    /// The same, as the audio thread finds it. Thread: audio (RT).
    std::uint64_t queuedFramesRt() noexcept;
    Counters counters() const;  ///< since construction

    void renderRt(std::span<float> out) noexcept override { renderPulledRt(out); }
    std::size_t pullRt(std::span<float> out) noexcept override;

private:
    struct Queue;
    struct Item;

    static Item* newItem(std::shared_ptr<const PcmBuffer> buffer, bool opensGroup);
    Queue* enterRt() noexcept;
    std::uint64_t queuedLocked() const;
    void replaceQueue(std::unique_ptr<Queue> queue);
    void freeLeftBehind();

    mutable std::mutex mutex_;  // among the callers
    std::unique_ptr<Queue> queue_;
    std::vector<std::unique_ptr<Queue>> retired_;  // replaced while the audio thread was in them
    std::vector<std::unique_ptr<Item>> skipped_;  // taken out while the audio thread may have been among them

    std::atomic<Queue*> current_;         // what the audio thread shall take: queue_
    std::atomic<Queue*> inUse_{nullptr};  // the audio thread's: what it is in; not to be freed
    std::atomic<bool> playing_{false};
    std::atomic<bool> groupEnded_{true};  // the next buffer opens another

    std::atomic<std::uint64_t> framesPlayed_{0};
    std::atomic<std::uint64_t> ranDry_{0};
    std::atomic<std::uint64_t> buffersRefused_{0};
};

}  // namespace tarn
