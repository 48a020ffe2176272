#include "SoundFiles.h"

#include <sndfile.h>

#include <cmath>
#include <memory>
#include <numbers>
#include <stdexcept>

#include "Measure.h"

namespace tarn::test {
namespace {

struct Close {
    void operator()(SNDFILE* file) const { sf_close(file); }
};

std::unique_ptr<SNDFILE, Close> open(const std::filesystem::path& path, int mode, SF_INFO& info) {
    std::unique_ptr<SNDFILE, Close> file(sf_open(path.c_str(), mode, &info));
    if (!file) {
        throw std::runtime_error(path.string() + ": " + sf_strerror(nullptr));
    }
    return file;
}

}  // namespace

std::vector<float> Sound::channel(unsigned index) const {
    return channelOf(samples, channels, index);
}

Sound readSound(const std::filesystem::path& file) {
    SF_INFO info{};
    const auto opened = open(file, SFM_READ, info);
    Sound sound{.samples = std::vector<float>(static_cast<std::size_t>(info.frames * info.channels)),
                .channels = static_cast<unsigned>(info.channels),
                .rate = static_cast<double>(info.samplerate)};
    const auto frames = sf_readf_float(opened.get(), sound.samples.data(), info.frames);
    sound.samples.resize(static_cast<std::size_t>(frames * info.channels));
    return sound;
}

void writeSound(const std::filesystem::path& file, const Sound& sound) {
    SF_INFO info{};
    info.samplerate = static_cast<int>(sound.rate);
    info.channels = static_cast<int>(sound.channels);
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    const auto opened = open(file, SFM_WRITE, info);
    const auto count = static_cast<sf_count_t>(sound.samples.size());
    if (sf_write_float(opened.get(), sound.samples.data(), count) != count) {
        throw std::runtime_error(file.string() + ": not written");
    }
}

Sound tone(double frequency, double level, double seconds, double rate, unsigned channels) {
    Sound sound{.samples = {}, .channels = channels, .rate = rate};
    const auto frames = std::llround(seconds * rate);
    const double amplitude = std::pow(10, level / 20);
    for (long long i = 0; i < frames; ++i) {
        const double phase = 2 * std::numbers::pi * frequency * static_cast<double>(i) / rate;
        sound.samples.insert(sound.samples.end(), channels, static_cast<float>(amplitude * std::sin(phase)));
    }
    return sound;
}

}  // namespace tarn::test
