#include "CaptureDelivery.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cstddef>
#include <string>
#include <utility>

#include "CaptureFold.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {

namespace {

using Time = std::chrono::steady_clock;

constexpr std::size_t channels = CaptureFold::outputChannels;
constexpr std::size_t ringFrames = std::size_t{2} * CaptureDelivery::rate;
constexpr std::size_t pieceFrames = 8192;  // as long as the server's cycles can be

}  // namespace

struct CaptureDelivery::State {
    State(Receive itsReceive) : receive(std::move(itsReceive)), planes(channels * pieceFrames) {}

    FrameRing ring{ringFrames, channels};
    std::atomic<bool> cameSinceTick{false};

    // The queue's.
    const Receive receive;
    bool closed = false;
    std::vector<float> planes;
    Time::time_point coveredUntil = Time::now();  // the receiver has sound or silence up to here
    bool starving = false;
    bool toldOfLoss = false;

    void drain() {
        bool sound = false;
        for (auto piece = ring.readable(); !piece.empty() && !closed; piece = ring.readable()) {
            const std::size_t frames = std::min(piece.size() / channels, pieceFrames);
            for (std::size_t channel = 0; channel < channels; ++channel) {
                float* plane = planes.data() + channel * pieceFrames;
                for (std::size_t frame = 0; frame < frames; ++frame) {
                    plane[frame] = piece[frame * channels + channel];
                }
            }
            ring.consume(frames);
            deliver(frames);
            sound = true;
        }
        if (sound) {
            coveredUntil = Time::now();
            starving = false;
        } else {
            fillWithSilence();
        }
        tellOfLoss();
    }

    void fillWithSilence() {
        const auto missing = Time::now() - coveredUntil;
        if (!starving && missing < patience) {
            return;
        }
        if (!starving) {
            starving = true;
            std::ranges::fill(planes, 0.0F);
        }
        using Frames = std::chrono::duration<std::int64_t, std::ratio<1, rate>>;
        auto frames = std::chrono::duration_cast<Frames>(missing);
        coveredUntil += std::chrono::duration_cast<Time::duration>(frames);
        while (frames.count() > 0 && !closed) {
            const auto piece = std::min<std::int64_t>(frames.count(), pieceFrames);
            deliver(static_cast<std::size_t>(piece));
            frames -= Frames(piece);
        }
    }

    void deliver(std::size_t frames) {
        static const AudioFormat format{CommonFormat::float32, rate, channels, false, std::nullopt};
        std::array<AudioBuffer, channels> buffers;
        for (std::size_t channel = 0; channel < channels; ++channel) {
            buffers[channel] = {reinterpret_cast<const std::byte*>(planes.data() + channel * pieceFrames),
                                frames * sizeof(float)};
        }
        receive(
            {.valid = true, .formatDescription = format, .numSamples = frames, .audioBufferList = buffers});
    }

    void tellOfLoss() {
        if (const std::uint64_t lost = ring.dropped(); lost > 0 && !toldOfLoss) {
            toldOfLoss = true;
            logLine("[capture] sound came faster than it was taken: " + std::to_string(lost) +
                    " frames are lost so far; more losses are not told");
        }
    }
};

CaptureDelivery::CaptureDelivery(std::shared_ptr<SerialQueue> queue, Receive receive)
    : queue_(std::move(queue)), state_(std::make_shared<State>(std::move(receive))) {
    queue_->setSource([state = state_] { state->drain(); });
}

CaptureDelivery::~CaptureDelivery() {
    queue_->setSource({});
    // Only where a receiver ends its own capture is a drain still under way here.
    if (queue_->isCurrent()) {
        state_->closed = true;
    }
}

void CaptureDelivery::pushRt(std::span<const float> surround, float gain) noexcept {
    state_->ring.writeRt(
        surround.size() / CaptureFold::inputChannels, [&](std::span<float> stereo, std::size_t before) {
            CaptureFold::foldRt(surround.subspan(before * CaptureFold::inputChannels), stereo, gain);
        });
    state_->cameSinceTick.store(true, std::memory_order_relaxed);
    queue_->signalRt();
}

void CaptureDelivery::tick() noexcept {
    // Sound has woken the queue by itself.
    if (!state_->cameSinceTick.exchange(false, std::memory_order_relaxed)) {
        queue_->signalRt();
    }
}

}  // namespace tarn
