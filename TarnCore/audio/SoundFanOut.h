#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

#include "AudioResampler.h"
#include "TarnPlatform/audio/PcmBuffer.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/base/SerialQueue.h"

namespace tarn {

/// Gives one captured sound to several listeners, with its conversion for the service, which is made once.
///
/// Listeners are called one after the other on the queue that the sound comes on, which costs least, since
/// they only pass it on. One that takes longer than `patience` for a call gets a queue of its own from then
/// on, so that the others do not wait for it again; should it fall `mostBehind` behind there, it loses the
/// newest sound, which the log tells once.
class SoundFanOut : public std::enable_shared_from_this<SoundFanOut> {
public:
    static constexpr std::chrono::milliseconds patience{50};
    static constexpr double mostBehind = 2;  ///< seconds

    /// What one of them does. Each is called in order, one call at a time, and dropped when it has left.
    struct Listener {
        std::function<void(const PcmBuffer&)> take;
        std::function<void(const Error&)> ended;  ///< no more comes, by itself; may be empty
    };
    using Id = std::uint64_t;

    explicit SoundFanOut(std::shared_ptr<SerialQueue> queue) : queue_(std::move(queue)) {}

    /// It hears what is delivered from now on. Thread: any.
    Id join(Listener listener);
    /// `left` is called, on a queue, when what was delivered before has been taken and nothing is any more.
    /// Thread: any; a listener's own call included.
    void leave(Id id, std::function<void()> left);

    // Thread: the queue.
    void deliver(PcmBuffer buffer);
    /// Tells all, those who join later too.
    void end(const Error& error);

private:
    class Ear;

    const std::shared_ptr<SerialQueue> queue_;
    // The queue's.
    AudioResampler resampler_;
    std::vector<std::shared_ptr<Ear>> ears_;
    std::optional<Error> error_;
};

}  // namespace tarn
