#pragma once

#include <array>
#include <atomic>

#include "AudioNode.h"
#include "SpliceSearch.h"

namespace tarn {

/// Changes the speed of speech and keeps its pitch: mono at 24 kHz.
///
/// Sound is copied, and where the copy has gone 4 ms astray of the speed asked for, a period of the voice (or
/// several; see SpliceSearch) is left out or said twice, the two ends faded over each other: PICOLA (Morita
/// and Itakura, 1986), with the place counted anew with every sample, so that the rate may change at any.
///
/// It reads ahead by at most 47 ms, from sound that is queued already. Where the source ends, the last
/// periods are spliced with as much as is there or copied, down to the last sample: nothing stays inside, and
/// no silence goes through. At rate 1.0 it plays what it has read ahead and is then a plain passage, exact
/// and without delay; returning to it is no seam.
class AudioUnitTimePitch : public AudioNode {
public:
    static constexpr float slowest = 0.5F;
    static constexpr float fastest = 2.0F;

    /// Times the natural speed. Thread: any.
    float rate() const { return rate_.load(std::memory_order_relaxed); }

    /// A change is heard within 20 ms, in what is queued as well. Rates beyond `slowest` or `fastest` are
    /// taken as these; NaN is ignored. Thread: any.
    void setRate(float rate);

    void renderRt(std::span<float> out) noexcept override { renderPulledRt(out); }
    std::size_t pullRt(std::span<float> out) noexcept override;

private:
    static constexpr std::size_t history = SpliceSearch::longest;
    static constexpr std::size_t lookahead = SpliceSearch::longest + SpliceSearch::window;
    static constexpr std::size_t refill = 480;

    std::size_t held() const { return end_ - at_; }
    bool splicing() const { return fadeLeft_ > 0; }

    bool fillRt() noexcept;
    bool spliceRt() noexcept;
    std::size_t copyRt(std::span<float> out) noexcept;
    std::size_t fadeRt(std::span<float> out) noexcept;
    void forgetRt() noexcept;

    std::atomic<float> rate_{1.0F};

    // The rest belongs to the audio thread. The buffer holds sound from the source: up to `at_` it was
    // played, up to `end_` it is to come.
    std::array<float, history + lookahead + refill> sound_{};
    std::size_t at_ = 0;
    std::size_t end_ = 0;
    double ahead_ = 0;  // frames by which the place in the input is further on than output and rate say
    std::size_t fadeLength_ = 0;
    std::size_t fadeLeft_ = 0;
    std::ptrdiff_t jump_ = 0;  // from `at_` to where the sound fades over to
};

}  // namespace tarn
