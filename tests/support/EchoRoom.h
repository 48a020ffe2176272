#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace tarn::test {

/// How a loudspeaker's sound gets back into a microphone.
struct EchoRoom {
    double rt60 = 0.150;   ///< seconds until the reverberation is 60 dB down
    double delay = 0.040;  ///< seconds between the reference and the first sound of it in the microphone
    double gainDb = -6;    ///< of the echo over the reference, in power
    double driftPpm = 0;   ///< by how much faster the echo's clock runs than the microphone's
    double jump = 0;       ///< seconds by which the delay is longer between `jumpFrom` and `jumpTo`
    double jumpFrom = 0;   ///< seconds
    double jumpTo = 1e9;   ///< seconds
    double clipDb = 1e9;   ///< the loudspeaker clips softly at this level over the reference's RMS
    unsigned seed = 1;
};

constexpr double roomRate = 16000;  ///< Hz of all signals here

/// The echo of `reference`, as long as that.
std::vector<float> echoOf(std::span<const float> reference, const EchoRoom& room);

/// Pink noise of an RMS level.
std::vector<float> pinkNoise(std::size_t samples, double rms, unsigned seed);

/// Noise that has the spectrum and the syllables of a talker, with pauses, at an RMS level over all.
std::vector<float> babble(std::size_t samples, double rms, unsigned seed);

double rmsOf(std::span<const float> samples);

}  // namespace tarn::test
