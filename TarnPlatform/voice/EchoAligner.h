#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "DelayEstimator.h"
#include "ReferenceTrack.h"

namespace tarn {

/// Reads the reference so that it stands still beside its echo: moved by the echo's delay, and at its clock.
///
/// The filter behind it covers some 200 ms, so a delay is corrected only where the echo would leave that, or
/// where it has moved: then the reference moves by as much, and what the filter has learnt stays right. The
/// clocks' difference is the slope of the delay over some seconds (as in Pawig, Enzner and Vary, "Adaptive
/// sampling rate correction for acoustic echo control in voice-over-IP", IEEE TSP 58, 2010, but measured at
/// the correlation's peak), which the reading speed integrates.
///
/// Not thread-safe. Allocates only when made. Blocks of the microphone are `hop` samples at 16 kHz.
class EchoAligner {
public:
    EchoAligner(const ReferenceTrack& track, std::size_t hop);

    /// The microphone's next sample is beside sample `position` of the reference.
    void pair(double position);

    /// The pairing is off by `samples`: one of the streams jumped.
    void shift(double samples);

    /// The sample of the reference that is beside the microphone's next one, were there no delay.
    double position() const { return position_; }

    /// By how many samples `run` reads the reference ahead of the microphone; below 0: behind it.
    double ahead() const { return -offset_; }

    /// True when the reference moved so that the filter must learn anew.
    bool run(std::span<const float> microphone, std::span<float> reference);

private:
    struct Measured {
        double when;   // seconds
        double delay;  // samples, in all
    };

    double delay() const { return offset_ + anchor_; }  // samples

    bool look();
    bool follow(const DelayEstimator::Found& found);
    void measureDrift(double delay);
    void forgetDrift() { measuredCount_ = 0; }

    const ReferenceTrack& track_;
    std::size_t hop_;
    DelayEstimator estimator_;
    std::vector<float> microphone_;  // the last samples, as many as a look is late and long
    std::vector<float> reference_;
    double position_ = 0;
    double offset_ = 0;     // samples by which the reference is read earlier
    double anchor_ = 0;     // samples by which the echo's peak lies behind that
    bool found_ = false;    // the echo's delay is known
    double step_ = 1;       // samples of the reference for one of the microphone
    double candidate_ = 0;  // a new delay that must be seen again
    int seen_ = 0;          // looks that saw it
    std::size_t sinceLook_ = 0;
    std::uint64_t sinceMove_ = 0;  // samples since the pairing changed
    double now_ = 0;               // seconds
    std::array<Measured, 24> measured_{};
    std::size_t measuredCount_ = 0;
};

}  // namespace tarn
