#pragma once

#include <cstdint>
#include <memory>
#include <span>
#include <vector>

#include "AudioInputNode.h"
#include "EchoReference.h"
#include "MicrophoneStream.h"
#include "TarnPlatform/base/SerialQueue.h"
#include "TarnPlatform/voice/VoiceProcessor.h"
#include "TimedRing.h"

namespace tarn {

/// Takes captured sound off the real-time thread, processes it where that is asked for, and gives it to the
/// tap, in order, on a thread of its own. A tap may bring about the end of everything but its own call.
class MicrophoneWorker final : public MicrophoneSink, public std::enable_shared_from_this<MicrophoneWorker> {
public:
    /// `captured`: what comes in. Without a `voice` that is what the tap gets. `reference`: what the
    /// loudspeakers are given; for the voice, whose only reader this is.
    static std::shared_ptr<MicrophoneWorker> make(const AudioFormat& captured,
                                                  std::shared_ptr<VoiceProcessor> voice,
                                                  std::shared_ptr<EchoReference> reference,
                                                  AudioInputNode::TapBlock block);
    /// Requires: nobody delivers to this any more.
    ~MicrophoneWorker();
    MicrophoneWorker(const MicrophoneWorker&) = delete;
    MicrophoneWorker& operator=(const MicrophoneWorker&) = delete;

    /// On return the tap is not being called, unless this is the call. Thread: any.
    void endTap();

    void capturedRt(std::span<const float> interleaved, std::int64_t time) noexcept override;
    void silent(std::uint32_t frames, std::int64_t time) override;

private:
    MicrophoneWorker(const AudioFormat& captured, std::shared_ptr<VoiceProcessor> voice,
                     std::shared_ptr<EchoReference> reference, AudioInputNode::TapBlock block);

    void drain();
    void handle(std::span<const float> interleaved, std::int64_t time);
    void deliver(std::span<const float> interleaved, const AudioFormat& format);
    void reportDropped();

    // Fixed at birth.
    const AudioFormat captured_;
    const std::shared_ptr<VoiceProcessor> voice_;
    const std::shared_ptr<EchoReference> reference_;
    TimedRing ring_;
    // The queue's.
    std::shared_ptr<const AudioInputNode::TapBlock> block_;
    std::vector<float> samples_;
    std::vector<float> firstChannel_;
    std::vector<float> processed_;
    bool saidDropped_ = false;

    SerialQueue queue_;  // last: its thread uses all of the above
};

}  // namespace tarn
