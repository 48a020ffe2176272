#pragma once

#include <cstddef>
#include <span>
#include <vector>

#include "AudioFormat.h"

namespace tarn {

/// Reduces the channels of one continuous stream to one.
///
/// It aims, in this order, at the following: speech in any single channel stays audible; channels that carry
/// the same at full scale do not clip, so the weights never sum to more than one; nothing clicks. One channel
/// is kept, two are averaged, surround layouts fold with the usual coefficients (centre as it is, sides and
/// rears 3 dB down, no low-frequency channel) divided by their sum, and channels without a known position are
/// averaged.
///
/// Two channels of opposite polarity (one microphone wired the wrong way round) would cancel: where the
/// average is 20 dB below the difference, the right channel is turned over, gradually over 10 ms.
///
/// Not thread-safe.
class ChannelFold {
public:
    explicit ChannelFold(const AudioFormat& format);

    /// `channels` holds one plane for each channel of the format, all as long as `mono`.
    void fold(const std::vector<std::vector<float>>& channels, std::span<float> mono);

private:
    void foldPair(const float* left, const float* right, std::span<float> mono);
    void finishCell();

    std::vector<float> weights_;

    // Two channels only. Polarity is judged over cells of 10 ms, however the stream is cut into blocks.
    std::size_t cellFrames_;
    std::size_t cellDone_ = 0;
    float sumEnergy_ = 0;         // of left plus right, this cell
    float differenceEnergy_ = 0;  // of left minus right, this cell
    float sign_ = 1;              // factor of the right channel at this cell's end
    float signBefore_ = 1;        // and at its beginning
};

}  // namespace tarn
