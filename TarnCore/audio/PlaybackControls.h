#pragma once

namespace tarn {

/// What the user's speed and volume become. Thread: any.

/// 0.5 to 2.0; what is no number gives 2.0.
float clampedRate(float rate);

/// A linear factor, 0.0 to 16.0; what is no number gives 16.0.
float clampedGain(float gain);

/// The decibels of a clamped factor: -96 below 0.001, else 20 log10.
float globalGain(float gain);

}  // namespace tarn
