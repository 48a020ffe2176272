#include "CaptureProbe.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <stdexcept>

#include "support/audio/Measure.h"

namespace tarn::test {

namespace {

constexpr double rate = 48000;
constexpr std::chrono::seconds limit{20};

}  // namespace

void CaptureProbe::stream(CaptureStream&, const SampleBuffer& sampleBuffer, StreamOutputType type) {
    const std::lock_guard lock(mutex_);
    const AudioFormat expected{CommonFormat::float32, rate, 2, false, std::nullopt};
    if (type != StreamOutputType::audio || !sampleBuffer.valid ||
        sampleBuffer.formatDescription != expected || sampleBuffer.audioBufferList->size() != 2) {
        throw std::runtime_error("the capture delivered something else than planar stereo");
    }
    for (std::size_t channel = 0; channel < 2; ++channel) {
        const auto& [data, size] = (*sampleBuffer.audioBufferList)[channel];
        if (size != sampleBuffer.numSamples * sizeof(float)) {
            throw std::runtime_error("the capture delivered a plane of another length");
        }
        auto& plane = heard_[channel];
        const std::size_t before = plane.size();
        plane.resize(before + sampleBuffer.numSamples);
        std::memcpy(plane.data() + before, data, size);
    }
    frames_ += static_cast<std::int64_t>(sampleBuffer.numSamples);
    changed_.notify_all();
}

void CaptureProbe::stream(CaptureStream&, const Error& didStopWithError) {
    const std::lock_guard lock(mutex_);
    end_ = didStopWithError;
    changed_.notify_all();
}

CaptureProbe::Stereo CaptureProbe::next(double seconds) {
    const auto wanted = static_cast<std::size_t>(seconds * rate);
    std::unique_lock lock(mutex_);
    heard_ = Stereo(2);
    if (!changed_.wait_for(lock, limit, [&] { return heard_[0].size() >= wanted; })) {
        throw std::runtime_error("the capture delivered too little");
    }
    Stereo planes = heard_;
    for (auto& plane : planes) {
        plane.resize(wanted);
    }
    return planes;
}

bool CaptureProbe::becomesSo(double seconds, const std::function<bool(const Stereo&)>& isSo) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    while (std::chrono::steady_clock::now() < deadline) {
        if (isSo(next(seconds))) {
            return true;
        }
    }
    return false;
}

bool CaptureProbe::hears(double frequency, double level) {
    return becomesSo(0.2, [&](const Stereo& planes) {
        return std::ranges::all_of(planes, [&](const auto& plane) {
            return std::abs(toneLevel(plane, frequency, rate) - level) < 0.1;
        });
    });
}

bool CaptureProbe::doesNotHear(double frequency) {
    return becomesSo(0.2, [&](const Stereo& planes) {
        return std::ranges::all_of(
            planes, [&](const auto& plane) { return toneLevel(plane, frequency, rate) < -100; });
    });
}

std::optional<Error> CaptureProbe::awaitEnd() {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, limit, [&] { return end_.has_value(); });
    return end_;
}

std::int64_t CaptureProbe::frames() const {
    const std::lock_guard lock(mutex_);
    return frames_;
}

}  // namespace tarn::test
