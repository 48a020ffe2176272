#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "TarnCore/audio/ServiceAudio.h"
#include "support/audio/SoundFiles.h"

namespace tarn::test {

/// A sine as the service sends it.
inline std::vector<std::byte> serviceTone(double frequency, double level, double seconds) {
    std::vector<std::int16_t> samples;
    for (const float sample : tone(frequency, level, seconds, 24000, 1).samples) {
        samples.push_back(static_cast<std::int16_t>(std::lround(sample * 32767.0F)));
    }
    return toServiceBytes(samples);
}

}  // namespace tarn::test
