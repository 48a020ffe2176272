#pragma once

#include <span>
#include <vector>

namespace tarn::test {

// Figures of one channel's samples, full scale 1.0.

/// Level of a sine in dBFS (its peak, so that a full-scale sine has 0), by Goertzel's recurrence under a Hann
/// window over all of `samples`: what is more than two lines of `rate / size` away does not count. -200 for
/// silence.
double toneLevel(std::span<const float> samples, double frequency, double rate);

/// Root of the mean square, linear; 0 for no samples.
double rms(std::span<const float> samples);

/// The largest jump in the phase of a steady sine, in radians between 0 and pi; a stretch with less than half
/// of the usual amplitude counts as pi. One sample lost or doubled is 2 pi frequency / rate, unless it is a
/// whole period. Sound without a fault gives under 0.05; a jump is found to 10 %. Requires: sound from end to
/// end (`withoutSilence`), of 32 periods at least.
double largestJump(std::span<const float> samples, double frequency, double rate);

/// `samples` from the first to the last that is louder than `floor`, less `margin` seconds at both ends where
/// sounds fade.
std::span<const float> withoutSilence(std::span<const float> samples, double rate, double margin = 0.05,
                                      float floor = 0.001F);

/// One channel of interleaved samples.
std::vector<float> channelOf(std::span<const float> interleaved, unsigned channels, unsigned index);

}  // namespace tarn::test
