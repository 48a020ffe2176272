#include "StereoPlace.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace tarn {
namespace {

// 50 ms at 24 kHz: the voice glides to its place, and no step of it is heard.
constexpr std::uint32_t glideFrames = 1200;

}  // namespace

void StereoPlace::setPlace(float place) noexcept {
    if (!std::isnan(place)) {
        place_.store(std::clamp(place, -1.0F, 1.0F), std::memory_order_relaxed);
    }
}

StereoPlace::Factors StereoPlace::factorsFor(float place) noexcept {
    if (place == 0) {
        return {};  // the cosine would miss 1 by its rounding
    }
    constexpr float both = std::numbers::sqrt2_v<float>;
    const float angle = (place + 1) * std::numbers::pi_v<float> / 4;
    return {both * std::cos(angle), both * std::sin(angle)};
}

void StereoPlace::aimRt() noexcept {
    const float place = place_.load(std::memory_order_relaxed);
    if (place != aimedPlace_) {
        aimedPlace_ = place;
        aim_ = factorsFor(place);
        step_ = {(aim_.left - now_.left) / glideFrames, (aim_.right - now_.right) / glideFrames};
        stepsLeft_ = glideFrames;
    }
    if (!begun_) {
        begun_ = true;
        now_ = aim_;
        stepsLeft_ = 0;
    }
}

void StereoPlace::stepRt() noexcept {
    if (stepsLeft_ == 0) {
        return;
    }
    if (--stepsLeft_ == 0) {
        now_ = aim_;
    } else {
        now_.left += step_.left;
        now_.right += step_.right;
    }
}

void StereoPlace::renderRt(std::span<float> mono, std::span<float> stereo) noexcept {
    aimRt();
    for (std::size_t i = 0; i < mono.size(); ++i) {
        stepRt();
        const float nearer = std::max(now_.left, now_.right);
        float loudest = mono[i] * nearer;
        limiter_.limitRt({&loudest, 1});
        stereo[2 * i] = loudest * (now_.left / nearer);
        stereo[2 * i + 1] = loudest * (now_.right / nearer);
        mono[i] = (stereo[2 * i] + stereo[2 * i + 1]) / 2;
    }
}

}  // namespace tarn
