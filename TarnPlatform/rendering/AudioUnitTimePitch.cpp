#include "AudioUnitTimePitch.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

// Sound that has gone this many frames (4 ms) astray is spliced. It is half the period of a voice of 125 Hz,
// so that a splice leaves the sound about as far astray on the other side.
constexpr double splicePoint = 96;
// So many frames are copied between two looks at the distance: a search at every sample would cost too much.
constexpr std::size_t step = 48;

}  // namespace

void AudioUnitTimePitch::setRate(float rate) {
    if (!std::isnan(rate)) {
        rate_.store(std::clamp(rate, slowest, fastest), std::memory_order_relaxed);
    }
}

std::size_t AudioUnitTimePitch::pullRt(std::span<float> out) noexcept {
    const double rate = static_cast<double>(rate_.load(std::memory_order_relaxed));
    std::size_t done = 0;
    bool dry = false;
    while (done < out.size()) {
        const auto rest = out.subspan(done);
        if (rate == 1.0 && !splicing()) {
            ahead_ = 0;
            if (held() == 0) {
                forgetRt();
                return done + pullSourceRt(rest);
            }
            done += copyRt(rest);
            continue;
        }
        // The source is asked once in a call: it has nothing more before the next cycle.
        if (!dry && held() < lookahead) {
            dry = !fillRt();
        }
        if (held() == 0) {
            forgetRt();
            break;
        }
        std::size_t count = 0;
        if (splicing() || (std::abs(ahead_) >= splicePoint && spliceRt())) {
            count = fadeRt(rest);
        } else {
            count = copyRt(rest.first(std::min(rest.size(), step)));
        }
        // Copying and fading go through the input at the natural speed, and the jump counts when a fade ends.
        ahead_ += static_cast<double>(count) * (1.0 - rate);
        if (fadeLength_ > 0 && !splicing()) {
            fadeLength_ = 0;
            ahead_ += static_cast<double>(jump_);
        }
        done += count;
    }
    return done;
}

// Moves what is still needed to the buffer's front and pulls as much as fits behind it. What was played stays
// as long as the longest splice backwards may want it. False where the source had less.
bool AudioUnitTimePitch::fillRt() noexcept {
    const auto kept = std::min(at_, history);
    std::copy(sound_.begin() + static_cast<std::ptrdiff_t>(at_ - kept),
              sound_.begin() + static_cast<std::ptrdiff_t>(end_), sound_.begin());
    end_ -= at_ - kept;
    at_ = kept;
    const auto wanted = std::span(sound_).subspan(end_, at_ + lookahead + refill - end_);
    const auto count = pullSourceRt(wanted);
    end_ += count;
    return count == wanted.size();
}

bool AudioUnitTimePitch::spliceRt() noexcept {
    const bool skip = ahead_ < 0;
    const auto sound = std::span<const float>(sound_).first(end_);
    const auto splice = skip ? SpliceSearch::aheadRt(sound.subspan(at_)) : SpliceSearch::behindRt(sound, at_);
    if (!splice) {
        return false;
    }
    // The fade lasts one period, the longest for which both sides stay in step; near the sound's end it is as
    // long as there is sound on both sides.
    const auto distance = splice->distance;
    fadeLength_ = std::min(distance, skip ? held() - distance : held());
    fadeLeft_ = fadeLength_;
    jump_ = skip ? static_cast<std::ptrdiff_t>(distance) : -static_cast<std::ptrdiff_t>(distance);
    return true;
}

std::size_t AudioUnitTimePitch::copyRt(std::span<float> out) noexcept {
    const auto count = std::min(out.size(), held());
    std::copy_n(sound_.begin() + static_cast<std::ptrdiff_t>(at_), count, out.begin());
    at_ += count;
    return count;
}

std::size_t AudioUnitTimePitch::fadeRt(std::span<float> out) noexcept {
    const auto count = std::min(out.size(), fadeLeft_);
    const float* const from = sound_.data() + at_;
    const float* const to = from + jump_;
    const float weightStep = 1.0F / static_cast<float>(fadeLength_);
    const auto done = fadeLength_ - fadeLeft_;
    // Both sides are alike in phase, so that straight weights keep the level; it is unrelated sound that
    // would want weights of constant power.
    for (std::size_t i = 0; i < count; ++i) {
        const float weight = static_cast<float>(done + i) * weightStep;
        out[i] = from[i] + weight * (to[i] - from[i]);
    }
    at_ += count;
    fadeLeft_ -= count;
    if (fadeLeft_ == 0) {
        at_ = static_cast<std::size_t>(static_cast<std::ptrdiff_t>(at_) + jump_);
    }
    return count;
}

void AudioUnitTimePitch::forgetRt() noexcept {
    at_ = end_ = 0;
    ahead_ = 0;
}

}  // namespace tarn
