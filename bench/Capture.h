#pragma once

#include <cstdint>

#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn::bench {

inline constexpr double captureRate = 48000;

/// A captured buffer as the desktop gives it: 48 kHz, two channels, Float32, a chord of speech's frequencies.
PcmBuffer capturedBuffer(int milliseconds);

}  // namespace tarn::bench
