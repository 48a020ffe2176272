#include "SoundFanOut.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

std::atomic<SoundFanOut::Id> lastId{0};

}  // namespace

/// A listener. Thread: the sound's queue.
class SoundFanOut::Ear {
public:
    Ear(Id id, Listener listener) : id_(id), listener_(std::move(listener)) {}

    Id id() const { return id_; }
    bool isSlow() const { return queue_ != nullptr; }

    void takeHere(const PcmBuffer& buffer) {
        const auto begin = std::chrono::steady_clock::now();
        listener_.take(buffer);
        if (std::chrono::steady_clock::now() - begin > patience) {
            queue_ = std::make_unique<SerialQueue>("tarn.audio.slow");
        }
    }

    void takeLater(std::shared_ptr<const PcmBuffer> buffer) {
        const double seconds = buffer->frameLength() / buffer->format().sampleRate;
        if (behind_ + seconds > mostBehind) {
            if (!std::exchange(saidLost_, true)) {
                logLine("[capture] a listener does not take its sound in time: some is lost for it");
            }
            return;
        }
        behind_ += seconds;
        queue_->async([this, seconds, buffer = std::move(buffer)] {
            listener_.take(*buffer);
            behind_ -= seconds;
        });
    }

    void end(const Error& error) {
        after([this, error] {
            if (listener_.ended) {
                listener_.ended(error);
            }
        });
    }

    /// Does `work` when all that was given before is taken.
    void after(std::function<void()> work) {
        if (queue_ == nullptr) {
            work();
        } else {
            queue_->async(std::move(work));
        }
    }

private:
    const Id id_;
    const Listener listener_;
    bool saidLost_ = false;
    std::atomic<double> behind_{0};       // seconds of sound that it was given and has not taken
    std::unique_ptr<SerialQueue> queue_;  // of one that is slow; last: its thread uses the rest
};

SoundFanOut::Id SoundFanOut::join(Listener listener) {
    auto ear = std::make_shared<Ear>(++lastId, std::move(listener));
    const Id id = ear->id();
    queue_->async([self = shared_from_this(), ear = std::move(ear)] {
        self->ears_.push_back(ear);
        if (self->error_) {
            ear->end(*self->error_);
        }
    });
    return id;
}

void SoundFanOut::leave(Id id, std::function<void()> left) {
    queue_->async([self = shared_from_this(), id, left = std::move(left)]() mutable {
        const auto found = std::ranges::find(self->ears_, id, &Ear::id);
        if (found == self->ears_.end()) {
            left();
            return;
        }
        const std::shared_ptr<Ear> ear = *found;
        self->ears_.erase(found);
        // The work keeps the listener, whose queue may thus end on its own thread.
        ear->after([ear, left = std::move(left)] { left(); });
    });
}

void SoundFanOut::deliver(PcmBuffer buffer) {
    auto bytes = resampler_.process(buffer);
    buffer.setConversion({resampler_.dstFormat(), std::move(bytes)});
    const auto shared = std::make_shared<const PcmBuffer>(std::move(buffer));
    for (const auto& ear : ears_) {
        if (ear->isSlow()) {
            ear->takeLater(shared);
        } else {
            ear->takeHere(*shared);
        }
    }
}

void SoundFanOut::end(const Error& error) {
    error_ = error;
    for (const auto& ear : ears_) {
        ear->end(error);
    }
}

}  // namespace tarn
