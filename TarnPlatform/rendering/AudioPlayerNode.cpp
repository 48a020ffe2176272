#include "AudioPlayerNode.h"

#include <algorithm>
#include <deque>
#include <new>
#include <optional>
#include <utility>

#include "TarnPlatform/base/Log.h"

namespace tarn {

/// One buffer in the list.
struct AudioPlayerNode::Item {
    enum class Fate : std::uint8_t { waiting, begun, skipped };

    std::shared_ptr<const PcmBuffer> buffer;  // none: the list's beginning
    const float* samples = nullptr;
    std::size_t length = 0;
    std::atomic<Item*> next{nullptr};
    bool opensGroup = false;
    // Of the group that this one opens. Who changes it from `waiting` decides: the audio thread or a skip.
    std::atomic<Fate> fate{Fate::waiting};

    bool claim(Fate as) noexcept {
        auto expected = Fate::waiting;
        return fate.compare_exchange_strong(expected, as);
    }

    /// The next one to play. Those of skipped groups are passed by, which are still linked only if the audio
    /// thread comes while they are taken out.
    Item* followerRt() const noexcept {
        bool skipped = false;
        auto* item = next.load();
        for (; item != nullptr; item = item->next.load()) {
            skipped = item->opensGroup ? !item->claim(Fate::begun) : skipped;
            if (!skipped) {
                break;
            }
        }
        return item;
    }
};

AudioPlayerNode::Item* AudioPlayerNode::newItem(std::shared_ptr<const PcmBuffer> buffer, bool opensGroup) {
    auto* const item = new (std::nothrow) Item;
    if (item != nullptr) {
        item->samples = buffer->floatChannelData();
        item->length = buffer->frameLength();
        item->buffer = std::move(buffer);
        item->opensGroup = opensGroup;
    }
    return item;
}

/// The list. Its items belong to the callers, but none from `playing` on is freed while the list lives. It
/// begins with an item without sound, so that the audio thread always stands on an item whose `next` it can
/// follow, even before the first buffer has come.
struct AudioPlayerNode::Queue {
    Queue() : oldest(new Item), newest(oldest), playing(oldest) {}
    ~Queue() { freeUpTo(nullptr); }
    Queue(const Queue&) = delete;
    Queue& operator=(const Queue&) = delete;

    /// A group that may be skipped: it opens with `first`, which follows `before`.
    struct Group {
        Item* before;
        Item* first;
        std::uint64_t start;  // frames appended before it
    };

    void append(Item* item) {
        if (item->opensGroup) {
            groups.push_back({newest, item, appended});
        }
        appended += item->length;
        scheduled.fetch_add(item->length, std::memory_order_relaxed);
        newest->next.store(item, std::memory_order_release);
        newest = item;
    }

    /// Takes the oldest group out that has not begun, unless it is the newest. The result is its frames, or
    /// nothing where there is none; its items come to `out`.
    std::optional<std::uint64_t> skip(std::vector<std::unique_ptr<Item>>& out) {
        while (groups.size() > 1) {
            const Group group = groups.front();
            groups.pop_front();
            if (!group.first->claim(Item::Fate::skipped)) {
                continue;  // it has begun
            }
            Group& after = groups.front();
            const std::uint64_t frames = after.start - group.start;
            scheduled.fetch_sub(frames, std::memory_order_relaxed);
            group.before->next.store(after.first);
            after.before = group.before;
            for (auto* item = group.first; item != after.first;) {
                auto* const next = item->next.load(std::memory_order_relaxed);
                out.emplace_back(item);
                item = next;
            }
            return frames;
        }
        return std::nullopt;
    }

    void freeUpTo(const Item* end) {
        while (!groups.empty() && groups.front().first->fate.load() != Item::Fate::waiting) {
            groups.pop_front();
        }
        while (oldest != end) {
            delete std::exchange(oldest, oldest->next.load(std::memory_order_relaxed));
        }
    }

    std::size_t pullRt(std::span<float> out) noexcept {
        auto* item = playing.load(std::memory_order_relaxed);
        std::size_t count = 0;
        while (count < out.size()) {
            if (offset == item->length) {
                auto* const next = item->followerRt();
                if (next == nullptr) {
                    break;
                }
                item = next;
                offset = 0;
            }
            const auto part = std::min(out.size() - count, item->length - offset);
            std::copy_n(item->samples + offset, part, out.data() + count);
            offset += part;
            count += part;
        }
        playing.store(item, std::memory_order_release);
        played.fetch_add(count, std::memory_order_relaxed);
        return count;
    }

    // The callers', under the lock.
    Item* oldest;
    Item* newest;
    std::deque<Group> groups;  // by age; those that have begun go with `freeUpTo`
    std::uint64_t appended = 0;
    // The audio thread's.
    std::atomic<Item*> playing;
    std::size_t offset = 0;  // of `playing`, what has been played
    bool fed = false;        // it has played and not run dry since

    std::atomic<std::uint64_t> scheduled{0};
    std::atomic<std::uint64_t> played{0};
};

AudioPlayerNode::AudioPlayerNode() : queue_(std::make_unique<Queue>()), current_(queue_.get()) {}
AudioPlayerNode::~AudioPlayerNode() = default;

void AudioPlayerNode::scheduleBuffer(PcmBuffer buffer) {
    const bool fits =
        std::as_const(buffer).floatChannelData() != nullptr && buffer.format().channelCount == 1;
    auto* const item =
        fits ? newItem(std::make_shared<const PcmBuffer>(std::move(buffer)), groupEnded_) : nullptr;
    if (item == nullptr) {
        buffersRefused_.fetch_add(1, std::memory_order_relaxed);
        logLine(fits ? "[player] no memory to queue a buffer"
                     : "[player] cannot play a buffer of " + buffer.format().description());
        return;
    }
    groupEnded_ = false;
    const std::lock_guard lock(mutex_);
    queue_->append(item);
    freeLeftBehind();
}

void AudioPlayerNode::play() {
    playing_.store(true);
}

void AudioPlayerNode::stop() {
    auto empty = std::make_unique<Queue>();
    const std::lock_guard lock(mutex_);
    playing_.store(false);
    replaceQueue(std::move(empty));
}

std::uint64_t AudioPlayerNode::keepNewest(std::uint64_t frames) {
    const std::lock_guard lock(mutex_);
    const std::uint64_t before = queuedLocked();
    if (before <= frames) {
        return 0;
    }
    // The list's links are the audio thread's to read, so nothing is taken out of it: what is to stay is
    // queued anew in a list of its own, which shares the buffers.
    const Item* const playing = queue_->playing.load(std::memory_order_acquire);
    std::uint64_t waiting = 0;
    for (const Item* item = playing; (item = item->next.load(std::memory_order_relaxed)) != nullptr;) {
        waiting += item->length;
    }
    auto kept = std::make_unique<Queue>();
    for (const Item* item = playing; (item = item->next.load(std::memory_order_relaxed)) != nullptr;) {
        if (waiting <= frames) {
            if (auto* const again = newItem(item->buffer, item->opensGroup)) {
                kept->append(again);
            }
        } else {
            waiting -= item->length;
        }
    }
    replaceQueue(std::move(kept));
    return before - queuedLocked();
}

std::uint64_t AudioPlayerNode::skipOldest(std::uint64_t frames) {
    const std::lock_guard lock(mutex_);
    std::uint64_t dropped = 0;
    while (queuedLocked() > frames) {
        const auto skipped = queue_->skip(skipped_);
        if (!skipped) {
            break;
        }
        dropped += *skipped;
    }
    freeLeftBehind();
    return dropped;
}

void AudioPlayerNode::replaceQueue(std::unique_ptr<Queue> queue) {
    current_.store(queue.get());
    retired_.push_back(std::exchange(queue_, std::move(queue)));
    freeLeftBehind();
}

void AudioPlayerNode::freeLeftBehind() {
    queue_->freeUpTo(queue_->playing.load(std::memory_order_acquire));
    // The audio thread names the list that it is about to enter and then looks whether it is still the
    // current one; here the current one is replaced first and the name is read then. All four accesses are
    // sequentially consistent, so at least one side sees the other: either the name is found here, or the
    // audio thread leaves the list alone (a hazard pointer, after Michael, IEEE TPDS 15, 2004).
    const auto* const inUse = inUse_.load();
    std::erase_if(retired_, [inUse](const auto& queue) { return queue.get() != inUse; });
    // What was skipped hangs in no list any more. An audio thread that is in none now finds no way to it.
    if (inUse == nullptr) {
        skipped_.clear();
    }
}

std::uint64_t AudioPlayerNode::queuedFrames() const {
    const std::lock_guard lock(mutex_);
    return queuedLocked();
}

std::uint64_t AudioPlayerNode::queuedLocked() const {
    const auto played = queue_->played.load(std::memory_order_relaxed);
    return queue_->scheduled.load(std::memory_order_relaxed) - played;
}

AudioPlayerNode::Counters AudioPlayerNode::counters() const {
    return {.framesPlayed = framesPlayed_.load(std::memory_order_relaxed),
            .ranDry = ranDry_.load(std::memory_order_relaxed),
            .buffersRefused = buffersRefused_.load(std::memory_order_relaxed)};
}

// Null where the list has been replaced this moment: nothing is to be done with the old one.
AudioPlayerNode::Queue* AudioPlayerNode::enterRt() noexcept {
    auto* const queue = current_.load();
    inUse_.store(queue);
    return current_.load() == queue ? queue : nullptr;
}

std::uint64_t AudioPlayerNode::queuedFramesRt() noexcept {
    const auto* const queue = enterRt();
    const auto count = queue != nullptr ? queue->scheduled.load(std::memory_order_relaxed) -
                                              queue->played.load(std::memory_order_relaxed)
                                        : 0;
    inUse_.store(nullptr);
    return count;
}

std::size_t AudioPlayerNode::pullRt(std::span<float> out) noexcept {
    if (!playing_.load()) {
        return 0;
    }
    std::size_t count = 0;
    if (auto* const queue = enterRt()) {
        count = queue->pullRt(out);
        if (count < out.size() && (count > 0 || queue->fed)) {
            ranDry_.fetch_add(1, std::memory_order_relaxed);
        }
        queue->fed = count == out.size() && (count > 0 || queue->fed);
        framesPlayed_.fetch_add(count, std::memory_order_relaxed);
    }
    inUse_.store(nullptr);
    return count;
}

}  // namespace tarn
