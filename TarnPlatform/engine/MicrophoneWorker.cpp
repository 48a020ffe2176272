#include "MicrophoneWorker.h"

#include <algorithm>
#include <utility>

#include "TarnPlatform/audio/PcmBuffer.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr double ringSeconds = 2;
constexpr std::uint32_t longestBlock = 8192;  // frames, of silence

}  // namespace

std::shared_ptr<MicrophoneWorker> MicrophoneWorker::make(const AudioFormat& captured,
                                                         std::shared_ptr<VoiceProcessor> voice,
                                                         std::shared_ptr<EchoReference> reference,
                                                         AudioInputNode::TapBlock block) {
    std::shared_ptr<MicrophoneWorker> worker(
        new MicrophoneWorker(captured, std::move(voice), std::move(reference), std::move(block)));
    worker->queue_.setSource([weak = std::weak_ptr(worker)] {
        if (const auto self = weak.lock()) {
            self->drain();
        }
    });
    return worker;
}

MicrophoneWorker::MicrophoneWorker(const AudioFormat& captured, std::shared_ptr<VoiceProcessor> voice,
                                   std::shared_ptr<EchoReference> reference, AudioInputNode::TapBlock block)
    : captured_(captured),
      voice_(std::move(voice)),
      reference_(std::move(reference)),
      ring_(static_cast<std::size_t>(captured.sampleRate * ringSeconds), captured.channelCount),
      block_(std::make_shared<const AudioInputNode::TapBlock>(std::move(block))),
      queue_("tarn.mic") {}

MicrophoneWorker::~MicrophoneWorker() = default;

void MicrophoneWorker::endTap() {
    queue_.sync([this] { block_.reset(); });
}

void MicrophoneWorker::capturedRt(std::span<const float> interleaved, std::int64_t time) noexcept {
    ring_.pushRt(time, interleaved);
    queue_.signalRt();
}

void MicrophoneWorker::silent(std::uint32_t frames, std::int64_t time) {
    queue_.async([weak = weak_from_this(), frames, time] {
        const auto self = weak.lock();
        for (std::uint32_t done = 0; self != nullptr && done < frames;) {
            const std::uint32_t piece = std::min(frames - done, longestBlock);
            self->samples_.assign(std::size_t{piece} * self->captured_.channelCount, 0.0F);
            self->handle(self->samples_,
                         time + static_cast<std::int64_t>(done * 1e9 / self->captured_.sampleRate));
            done += piece;
        }
    });
}

void MicrophoneWorker::drain() {
    std::int64_t time = 0;
    while (ring_.pop(time, samples_)) {
        handle(samples_, time);
    }
    reportDropped();
}

void MicrophoneWorker::handle(std::span<const float> interleaved, std::int64_t time) {
    if (voice_ == nullptr) {
        deliver(interleaved, captured_);
        return;
    }
    std::int64_t playedAt = 0;
    // The reference goes in before the sound that may hold its echo, since an echo cannot come before its
    // cause.
    while (reference_ != nullptr && reference_->pop(playedAt, firstChannel_)) {
        voice_->reference(playedAt, firstChannel_);
    }
    const std::size_t channels = captured_.channelCount;
    // Microphones with several channels carry the voice on the first one, and the filter is built for one.
    firstChannel_.resize(interleaved.size() / channels);
    for (std::size_t frame = 0; frame < firstChannel_.size(); ++frame) {
        firstChannel_[frame] = interleaved[frame * channels];
    }
    processed_.clear();
    voice_->process(time, firstChannel_, processed_);
    deliver(processed_, voice_->outputFormat());
}

void MicrophoneWorker::deliver(std::span<const float> interleaved, const AudioFormat& format) {
    const auto block = block_;  // kept: the tap may end itself
    const std::size_t channels = format.channelCount;
    const auto frames = static_cast<std::uint32_t>(interleaved.size() / channels);
    if (block == nullptr || !*block || frames == 0) {
        return;
    }
    auto buffer = PcmBuffer::make(format, frames);
    if (!buffer) {
        return;
    }
    buffer->setFrameLength(frames);
    for (std::uint32_t channel = 0; channel < channels; ++channel) {
        float* const plane = buffer->floatChannelData(channel);
        for (std::size_t frame = 0; frame < frames; ++frame) {
            plane[frame] = interleaved[frame * channels + channel];
        }
    }
    (*block)(*buffer);
}

void MicrophoneWorker::reportDropped() {
    if (!saidDropped_ && ring_.dropped() > 0) {
        saidDropped_ = true;
        logLine("[mic] sound was lost: it was not taken in time");
    }
}

}  // namespace tarn
