#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <vector>

#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn::test {

/// What a tap delivered. Thread: any.
class Heard {
public:
    void take(const PcmBuffer& buffer) {
        const std::lock_guard lock(mutex_);
        channels_.resize(buffer.format().channelCount);
        for (std::uint32_t channel = 0; channel < channels_.size(); ++channel) {
            const float* const samples = buffer.floatChannelData(channel);
            channels_[channel].insert(channels_[channel].end(), samples, samples + buffer.frameLength());
        }
        rate_ = buffer.format().sampleRate;
        more_.notify_all();
    }

    /// Sound of `seconds` that comes from now on, of one channel. Empty when it does not come within three
    /// times as long and 5 s.
    std::vector<float> next(double seconds, std::size_t channel = 0) {
        std::unique_lock lock(mutex_);
        const std::size_t from = channels_.empty() ? 0 : channels_[0].size();
        const bool came = more_.wait_for(lock, std::chrono::duration<double>(3 * seconds + 5), [&] {
            return channel < channels_.size() &&
                   static_cast<double>(channels_[channel].size() - from) >= seconds * rate_;
        });
        return came ? std::vector(channels_[channel].begin() + static_cast<std::ptrdiff_t>(from),
                                  channels_[channel].end())
                    : std::vector<float>();
    }

    std::size_t frames() const {
        const std::lock_guard lock(mutex_);
        return channels_.empty() ? 0 : channels_[0].size();
    }

private:
    mutable std::mutex mutex_;
    std::condition_variable more_;
    std::vector<std::vector<float>> channels_;
    double rate_ = 0;
};

}  // namespace tarn::test
