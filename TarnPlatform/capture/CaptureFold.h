#pragma once

#include <cstddef>
#include <span>

#include "TarnPlatform/audio/AudioFormat.h"

namespace tarn {

/// Folds the surround sound that a capture receives to stereo: a centre 3 dB down in both, rears 3 dB down on
/// their side, the low frequencies 9 dB down in both. These are the weights of ITU-R BS.775 with the server's
/// own for the low frequencies, so that a program sounds the same whether the server folds it for a stereo
/// sink or we do. The sum of several programs may exceed 1.0; what is no finite number counts as silence.
struct CaptureFold {
    static constexpr std::size_t inputChannels = 6;
    static constexpr std::size_t outputChannels = 2;
    static const ChannelLayout& inputLayout();  ///< FL FR FC LFE RL RR

    /// Both interleaved; `stereo` has as many frames as `surround`, and `gain` times its level. Thread: any,
    /// real-time ones included.
    static void foldRt(std::span<const float> surround, std::span<float> stereo, float gain = 1) noexcept;
};

}  // namespace tarn
