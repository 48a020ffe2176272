#include "ChannelFold.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <numeric>

namespace tarn {
namespace {

using enum ChannelPosition;

// The order in which files and sound servers hold channels that do not say where they belong.
ChannelLayout usualLayout(std::uint32_t channels) {
    switch (channels) {
        case 3:
            return {frontLeft, frontRight, frontCentre};
        case 4:
            return {frontLeft, frontRight, rearLeft, rearRight};
        case 5:
            return {frontLeft, frontRight, frontCentre, rearLeft, rearRight};
        case 6:
            return {frontLeft, frontRight, frontCentre, lowFrequency, rearLeft, rearRight};
        case 7:
            return {frontLeft, frontRight, frontCentre, lowFrequency, rearCentre, sideLeft, sideRight};
        case 8:
            return {frontLeft, frontRight, frontCentre, lowFrequency,
                    rearLeft,  rearRight,  sideLeft,    sideRight};
        default:
            return ChannelLayout(channels, unknown);
    }
}

float weightOf(ChannelPosition position) {
    switch (position) {
        case frontCentre:
            return std::numbers::sqrt2_v<float>;  // 3 dB down in both of two loudspeakers
        case lowFrequency:
            return 0;
        case rearLeft:
        case rearRight:
        case rearCentre:
        case sideLeft:
        case sideRight:
            return 1 / std::numbers::sqrt2_v<float>;
        case unknown:
        case frontLeft:
        case frontRight:
            break;
    }
    return 1;
}

}  // namespace

ChannelFold::ChannelFold(const AudioFormat& format)
    : cellFrames_(std::max<std::size_t>(static_cast<std::size_t>(format.sampleRate / 100), 1)) {
    auto layout = format.channelLayout.value_or(ChannelLayout{});
    if (layout.size() != format.channelCount) {
        layout = usualLayout(format.channelCount);
    }
    std::ranges::transform(layout, std::back_inserter(weights_), weightOf);
    const float sum = std::accumulate(weights_.begin(), weights_.end(), 0.0F);
    for (auto& weight : weights_) {
        // Where there are only low-frequency channels, they are averaged: a rumble is better than nothing.
        weight = sum > 0 ? weight / sum : 1 / static_cast<float>(weights_.size());
    }
}

void ChannelFold::fold(const std::vector<std::vector<float>>& channels, std::span<float> mono) {
    if (weights_.size() == 2) {
        foldPair(channels[0].data(), channels[1].data(), mono);
        return;
    }
    std::ranges::fill(mono, 0.0F);
    for (std::size_t channel = 0; channel < weights_.size(); ++channel) {
        const float weight = weights_[channel];
        const float* const from = channels[channel].data();
        for (std::size_t i = 0; i < mono.size(); ++i) {
            mono[i] += weight * from[i];
        }
    }
}

void ChannelFold::foldPair(const float* left, const float* right, std::span<float> mono) {
    // Floating point addition is not associative, so the compiler may not split one sum by itself. Sums that
    // stand side by side in the source let it vectorise the loop.
    constexpr std::size_t lanes = 8;
    std::size_t at = 0;
    while (at < mono.size()) {
        const auto count = std::min(mono.size() - at, cellFrames_ - cellDone_);
        const float* const l = left + at;
        const float* const r = right + at;
        float* const out = mono.data() + at;
        std::array<float, lanes> sums{};
        std::array<float, lanes> differences{};
        const auto measure = [&](std::size_t i, std::size_t lane) {
            const float sum = l[i] + r[i];
            const float difference = l[i] - r[i];
            sums[lane] += sum * sum;
            differences[lane] += difference * difference;
        };
        std::size_t i = 0;
        for (; i + lanes <= count; i += lanes) {
            for (std::size_t lane = 0; lane < lanes; ++lane) {
                measure(i + lane, lane);
            }
        }
        for (; i < count; ++i) {
            measure(i, 0);
        }
        sumEnergy_ += std::accumulate(sums.begin(), sums.end(), 0.0F);
        differenceEnergy_ += std::accumulate(differences.begin(), differences.end(), 0.0F);

        // The sign that a cell found is reached over the next cell: a jump would click.
        const float slope = (sign_ - signBefore_) / static_cast<float>(cellFrames_);
        const float first = signBefore_ + slope * static_cast<float>(cellDone_);
        for (std::size_t k = 0; k < count; ++k) {
            const float sign = first + slope * static_cast<float>(static_cast<int>(k));
            out[k] = weights_[0] * l[k] + weights_[1] * sign * r[k];
        }
        at += count;
        cellDone_ += count;
        if (cellDone_ == cellFrames_) {
            finishCell();
        }
    }
}

void ChannelFold::finishCell() {
    // Unrelated channels have a sum and a difference of about the same energy: 20 dB between them come from
    // opposite polarity alone. The way back asks for much less, because sound that is in both channels must
    // not fade with the difference.
    constexpr float opposite = 0.01F;
    constexpr float agreeing = 0.5F;
    const float inaudible = 1e-8F * static_cast<float>(cellFrames_);  // -80 dB: noise decides nothing
    signBefore_ = sign_;
    if (differenceEnergy_ > inaudible && sumEnergy_ < opposite * differenceEnergy_) {
        sign_ = -1;
    } else if (sumEnergy_ > inaudible && sumEnergy_ > agreeing * differenceEnergy_) {
        sign_ = 1;
    }
    sumEnergy_ = 0;
    differenceEnergy_ = 0;
    cellDone_ = 0;
}

}  // namespace tarn
