#pragma once

#include <chrono>
#include <cstdint>

namespace tarn {

/// What a capture delivers.
struct StreamConfiguration {
    bool capturesAudio = false;
    bool excludesCurrentProcessAudio = false;  ///< what this process plays, whatever the filter says
    int sampleRate = 48000;                    ///< Hz; 48000 is what there is
    int channelCount = 2;                      ///< 2 is what there is

    // The picture, which nothing delivers here.
    int width = 0;                                    ///< pixels
    int height = 0;                                   ///< pixels
    std::chrono::nanoseconds minimumFrameInterval{};  ///< 0: as often as it changes
    bool showsCursor = true;
};

}  // namespace tarn
