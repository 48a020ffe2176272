#pragma once

#include <filesystem>
#include <vector>

namespace tarn::test {

/// A sound file's content.
struct Sound {
    std::vector<float> samples;  ///< interleaved
    unsigned channels = 0;
    double rate = 0;

    std::vector<float> channel(unsigned index) const;
};

Sound readSound(const std::filesystem::path& file);                      ///< throws std::runtime_error
void writeSound(const std::filesystem::path& file, const Sound& sound);  ///< 32-bit float WAV; throws

/// The same sine in every channel; `level` in dBFS of its peak.
Sound tone(double frequency, double level, double seconds, double rate, unsigned channels);

}  // namespace tarn::test
