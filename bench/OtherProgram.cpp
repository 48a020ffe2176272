#include "OtherProgram.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <numbers>
#include <stdexcept>

namespace tarn::bench {

std::int64_t monotonicNow() {
    timespec now{};
    ::clock_gettime(CLOCK_MONOTONIC, &now);
    return std::int64_t{now.tv_sec} * 1'000'000'000 + now.tv_nsec;
}

OtherProgram::OtherProgram(AudioServer& server, Plays what) : server_(server), what_(what), times_(10000) {
    if (const auto reached = server_.snapshot(); !reached) {
        throw std::runtime_error(reached.error().description);
    }
    GraphStream::Description description;
    description.name = "another program";
    description.rate = 48000;
    description.channels = {ChannelPosition::frontLeft, ChannelPosition::frontRight};
    description.autoconnect = true;
    const AudioServer::Lock lock(server_);
    auto stream = GraphStream::make(server_, description, *this);
    if (!stream) {
        throw std::runtime_error(stream.error().description);
    }
    stream_ = std::move(*stream);
}

OtherProgram::~OtherProgram() {
    const AudioServer::Lock lock(server_);
    stream_.reset();
}

std::vector<std::int64_t> OtherProgram::clicks() const {
    return {times_.begin(), times_.begin() + static_cast<std::ptrdiff_t>(clicks_.load())};
}

void OtherProgram::renderRt(std::span<float> interleaved, std::int64_t) noexcept {
    const std::int64_t now = monotonicNow();
    const std::size_t frames = interleaved.size() / 2;
    cycleFrames_ = frames;
    std::ranges::fill(interleaved, 0.0F);
    if (what_ != Plays::clicks) {
        for (std::size_t i = 0; i < frames; ++i) {
            const double turn = 2 * std::numbers::pi * static_cast<double>(frame_ + i) / 48000;
            const double swell = what_ == Plays::swells ? 0.5 + 0.5 * std::sin(4 * turn) : 1;
            interleaved[2 * i] = interleaved[2 * i + 1] =
                static_cast<float>(0.251189 * swell * std::sin(440 * turn));
        }
    } else if (frame_ >= nextClick_ && clicks_ < times_.size()) {
        std::fill_n(interleaved.begin(), 16, 0.8F);
        times_[clicks_] = now;
        ++clicks_;
        nextClick_ = frame_ + 14400;
    }
    frame_ += frames;
}

}  // namespace tarn::bench
