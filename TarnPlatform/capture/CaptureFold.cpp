#include "CaptureFold.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>

namespace tarn {

namespace {

// The weights are those of the usual downmix (ITU-R BS.775): the centre and the rear channels are heard at
// half their power on each side; the low frequencies, which speech has none of, at a quarter.
constexpr float half = 1 / std::numbers::sqrt2_v<float>;  // of the power
constexpr float lowFrequencies = half / 2;

// A program may play infinities and NaN, and one of them would spoil the filters behind for good.
float finite(float sample) {
    return std::abs(sample) <= std::numeric_limits<float>::max() ? sample : 0.0F;
}

}  // namespace

const ChannelLayout& CaptureFold::inputLayout() {
    using enum ChannelPosition;
    static const ChannelLayout layout{frontLeft, frontRight, frontCentre, lowFrequency, rearLeft, rearRight};
    return layout;
}

void CaptureFold::foldRt(std::span<const float> surround, std::span<float> stereo, float gain) noexcept {
    const std::size_t frames = std::min(surround.size() / inputChannels, stereo.size() / outputChannels);
    const float* from = surround.data();
    float* to = stereo.data();
    for (std::size_t frame = 0; frame < frames; ++frame, from += inputChannels, to += outputChannels) {
        const float both = half * finite(from[2]) + lowFrequencies * finite(from[3]);
        to[0] = gain * (finite(from[0]) + both + half * finite(from[4]));
        to[1] = gain * (finite(from[1]) + both + half * finite(from[5]));
    }
}

}  // namespace tarn
