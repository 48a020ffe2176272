#include "EchoAligner.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

constexpr double rate = 16000;
constexpr std::size_t lookEvery = 4000;  // samples between two looks: four in a second
// A look ends so many samples before now, because the reference of that time has come by then.
constexpr std::size_t lookBehind = 4800;
// The echo's peak must not lie nearer to the filter's beginning than `earliest`, since a room's response
// begins before its peak. It must not lie further behind than `latest`: the filter would lose the response's
// tail. Where it does, it is put to `wanted`. All three are samples.
constexpr double earliest = 32;
constexpr double latest = 400;
constexpr double wanted = 160;
// The reference may come so many samples later than its echo: an output's monitor is read a cycle after what
// is heard at once in a loop without devices.
constexpr double lead = 320;
// Peaks within so many samples are the same echo, whose reflections take turns at being the strongest.
constexpr double moved = 48;
// An echo that moved is seen by this many looks, and the old peak is fainter than this part of the new one.
// Otherwise a passing correlation of speech with itself, a period away, would move the reference, and the
// filter would have to learn anew.
constexpr int looksForMove = 2;
constexpr float fainter = 0.6F;
// A correction takes back this part of the slope: the rest is taken back by the next, and a measurement that
// was too large does not swing over.
constexpr double driftGain = 0.8;
constexpr double leastSpan = 2.5;  // seconds of measurements that a slope needs
// Looks that follow one another share most of their sound, so their errors are alike and the scatter seems
// smaller than it is. Hence a slope must be this many of its standard deviations, where three would do.
constexpr double leastCertainty = 8;
constexpr double outlier = 1;  // samples; a peak that jumped by more is not drift
constexpr double mostDrift =
    500e-6;  // sound cards are within 100e-6 of each other; anything else is an error

}  // namespace

EchoAligner::EchoAligner(const ReferenceTrack& track, std::size_t hop)
    : track_(track),
      hop_(hop),
      microphone_(DelayEstimator::microphoneLength + lookBehind),
      reference_(DelayEstimator::referenceLength) {}

void EchoAligner::pair(double position) {
    position_ = position;
    sinceMove_ = 0;
    estimator_.reset();
    forgetDrift();
}

void EchoAligner::shift(double samples) {
    pair(position_ + samples);
}

bool EchoAligner::run(std::span<const float> microphone, std::span<float> reference) {
    std::copy(microphone_.begin() + static_cast<std::ptrdiff_t>(hop_), microphone_.end(),
              microphone_.begin());
    std::ranges::copy(microphone, microphone_.end() - static_cast<std::ptrdiff_t>(hop_));
    track_.read(position_ - offset_, step_, reference);
    position_ += step_ * static_cast<double>(hop_);
    sinceMove_ += hop_;
    sinceLook_ += hop_;
    now_ += static_cast<double>(hop_) / rate;
    // A look whose sound spans two pairings would find two delays.
    if (sinceLook_ < lookEvery || sinceMove_ < DelayEstimator::microphoneLength + lookBehind) {
        return false;
    }
    sinceLook_ = 0;
    return look();
}

bool EchoAligner::look() {
    const double end = position_ - step_ * static_cast<double>(lookBehind) + lead;
    track_.read(end - static_cast<double>(DelayEstimator::referenceLength), 1, reference_);
    auto found = estimator_.look(reference_, std::span(microphone_).first(DelayEstimator::microphoneLength));
    if (found) {
        found->delay -= lead;
    }
    return found && follow(*found);
}

bool EchoAligner::follow(const DelayEstimator::Found& found) {
    const bool first = !found_;
    if (!first && std::abs(found.delay - delay()) < moved) {
        seen_ = 0;
        const double exact = estimator_.refined(delay() + lead) - lead;
        if (std::abs(exact - delay()) < outlier) {
            measureDrift(exact);
        }
        anchor_ = exact - offset_;
        return false;
    }
    if (!first && estimator_.strengthAt(delay() + lead) > fainter * found.strength) {
        return false;  // the old peak stands, so the new one is another reflection of the same echo
    }
    seen_ = seen_ > 0 && std::abs(candidate_ - found.delay) < moved ? seen_ + 1 : 1;
    candidate_ = found.delay;
    if (seen_ < looksForMove) {
        return false;
    }
    seen_ = 0;
    found_ = true;
    forgetDrift();
    if (!first) {
        // The echo moved as a whole: what was learnt of the room is still right.
        offset_ = found.delay - anchor_;
        return true;
    }
    const double behind = found.delay - offset_;
    const bool outside = behind < earliest || behind > latest;
    if (outside) {
        offset_ = found.delay - wanted;
    }
    anchor_ = found.delay - offset_;
    return outside;
}

// Fits a line to the delay over time by least squares. Its slope is the difference of the clocks, since a
// room does not move: 100e-6 makes four samples in two and a half seconds.
void EchoAligner::measureDrift(double delay) {
    if (measuredCount_ == measured_.size()) {
        std::copy(measured_.begin() + 1, measured_.end(), measured_.begin());
        --measuredCount_;
    }
    measured_[measuredCount_++] = {.when = now_, .delay = delay};
    const double span = now_ - measured_.front().when;
    if (span < leastSpan || measuredCount_ < 8) {
        return;
    }
    double meanWhen = 0;
    double meanDelay = 0;
    const auto count = static_cast<double>(measuredCount_);
    for (std::size_t i = 0; i < measuredCount_; ++i) {
        meanWhen += measured_[i].when / count;
        meanDelay += measured_[i].delay / count;
    }
    double xy = 0;
    double xx = 0;
    for (std::size_t i = 0; i < measuredCount_; ++i) {
        const double x = measured_[i].when - meanWhen;
        xy += x * (measured_[i].delay - meanDelay);
        xx += x * x;
    }
    const double slope = xy / xx / rate;
    double residual = 0;
    for (std::size_t i = 0; i < measuredCount_; ++i) {
        const double x = measured_[i].when - meanWhen;
        const double error = measured_[i].delay - meanDelay - slope * rate * x;
        residual += error * error / count;
    }
    // The standard deviation of a fitted slope is the residual's over that of the times. A slope that the
    // scatter alone would explain corrects nothing.
    if (std::abs(slope) * rate < leastCertainty * std::sqrt(residual / xx)) {
        return;
    }
    step_ = std::clamp(step_ - driftGain * slope, 1 - mostDrift, 1 + mostDrift);
    forgetDrift();
}

}  // namespace tarn
