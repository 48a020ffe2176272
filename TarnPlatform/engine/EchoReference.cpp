#include "EchoReference.h"

#include <chrono>

namespace tarn {
namespace {

constexpr std::size_t seconds = 2;
// This is longer than the longest cycle, and than it takes to link the monitor.
constexpr std::int64_t patience = 500'000'000;

}  // namespace

EchoReference::EchoReference(std::uint32_t rate)
    : ring_(std::size_t{rate} * seconds, 1),
      monitoredAt_(std::chrono::duration_cast<std::chrono::nanoseconds>(
                       std::chrono::steady_clock::now().time_since_epoch())
                       .count()) {}

void EchoReference::monitoredRt(std::span<const float> samples, std::int64_t time) noexcept {
    monitoredAt_ = time;
    ring_.pushRt(time, samples);
}

void EchoReference::playedRt(std::span<const float> samples, std::int64_t time) noexcept {
    // The monitor hears what all programs play, ours included; only while it hears nothing does our own sound
    // stand in.
    if (time - monitoredAt_ > patience) {
        ring_.pushRt(time, samples);
    }
}

}  // namespace tarn
