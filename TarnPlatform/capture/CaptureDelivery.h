#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <vector>

#include "CaptureStream.h"
#include "TarnPlatform/audioserver/FrameRing.h"
#include "TarnPlatform/base/SerialQueue.h"

namespace tarn {

/// Takes a capture's sound from the graph's real-time thread to its receiver's queue: stereo Float32 planes
/// at 48 kHz, in order.
///
/// Wishes, in order: the real-time thread never waits; sound comes at once, in pieces as the graph made them
/// or larger; a receiver that is held up for a second loses nothing; a receiver that listens for the end of
/// an utterance hears silence in real time when no sound comes at all, because the graph is gone or stands
/// still.
class CaptureDelivery {
public:
    static constexpr std::uint32_t rate = 48000;
    /// How long the graph may say nothing before silence takes its place: more than its longest cycle.
    static constexpr std::chrono::milliseconds patience{250};

    using Receive = std::function<void(const SampleBuffer&)>;

    /// `receive` is called on `queue`.
    CaptureDelivery(std::shared_ptr<SerialQueue> queue, Receive receive);
    /// What came before is delivered, and nothing afterwards. Requires: no call of `pushRt` comes any more,
    /// and the caller holds nothing that the receiver waits for.
    ~CaptureDelivery();
    CaptureDelivery(const CaptureDelivery&) = delete;
    CaptureDelivery& operator=(const CaptureDelivery&) = delete;

    /// One cycle's sound, in CaptureFold's six channels, to be multiplied by `gain`. Thread: the graph's
    /// (RT), one at a time.
    void pushRt(std::span<const float> surround, float gain = 1) noexcept;

    /// Makes the queue look whether sound stays away. To be called every few ten milliseconds. Thread: any.
    void tick() noexcept;

private:
    struct State;

    const std::shared_ptr<SerialQueue> queue_;
    const std::shared_ptr<State> state_;  // shared with the queue, on which the delivery itself may end
};

}  // namespace tarn
