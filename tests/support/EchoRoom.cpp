#include "EchoRoom.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <random>

#include "TarnPlatform/audio/RateConverter.h"

namespace tarn::test {
namespace {

std::vector<float> impulseResponse(const EchoRoom& room) {
    std::mt19937 engine(room.seed);
    std::normal_distribution<double> normal;
    const auto length = static_cast<std::size_t>(room.rt60 * roomRate);
    std::vector<double> exact(std::max<std::size_t>(length, 1));
    double energy = 0;
    for (std::size_t i = 0; i < exact.size(); ++i) {
        const double fading =
            std::exp(-std::log(1000.0) * static_cast<double>(i) / static_cast<double>(exact.size()));
        exact[i] = i == 0 ? 1.0 : 0.35 * fading * normal(engine);
        energy += exact[i] * exact[i];
    }
    const double scale = std::pow(10, room.gainDb / 20) / std::sqrt(energy);
    std::vector<float> response(exact.size());
    std::ranges::transform(exact, response.begin(), [&](double x) { return static_cast<float>(x * scale); });
    return response;
}

// What the loudspeaker makes of the reference.
std::vector<float> played(std::span<const float> reference, const EchoRoom& room) {
    std::vector<float> sound(reference.begin(), reference.end());
    if (room.clipDb < 100) {
        const double limit = rmsOf(reference) * std::pow(10, room.clipDb / 20);
        for (float& sample : sound) {
            sample = static_cast<float>(limit * std::tanh(static_cast<double>(sample) / limit));
        }
    }
    if (room.driftPpm != 0) {
        auto converter = RateConverter::make(roomRate * (1 + room.driftPpm * 1e-6), roomRate).value();
        converter.write(sound);
        converter.write(std::vector<float>(2000));
        std::vector<float> drifted(sound.size() + 1000);
        const auto count = converter.read(drifted);
        drifted.resize(count);
        const auto late = static_cast<std::ptrdiff_t>(std::lround(converter.delay() * roomRate));
        drifted.erase(drifted.begin(), drifted.begin() + late);
        drifted.resize(sound.size());
        sound = std::move(drifted);
    }
    return sound;
}

}  // namespace

std::vector<float> echoOf(std::span<const float> reference, const EchoRoom& room) {
    const auto response = impulseResponse(room);
    const auto sound = played(reference, room);
    std::vector<float> echo(sound.size());
    const auto at = [](double seconds) { return static_cast<std::size_t>(seconds * roomRate); };
    const auto size = echo.size();
    const auto ordinary = at(room.delay);
    const auto later = at(room.delay + room.jump);
    const auto jumpFrom = static_cast<std::size_t>(std::min(room.jumpFrom * roomRate, 1e15));
    const auto jumpTo = static_cast<std::size_t>(std::min(room.jumpTo * roomRate, 1e15));
    // By runs of one tap over a block, which the compiler makes into vector code.
    constexpr std::size_t block = 4000;
    for (std::size_t begin = 0; begin < size; begin += block) {
        const auto end = std::min(begin + block, size);
        const auto delay = begin >= jumpFrom && begin < jumpTo ? later : ordinary;
        for (std::size_t tap = 0; tap < response.size(); ++tap) {
            const auto shift = delay + tap;
            const float weight = response[tap];
            for (std::size_t i = std::max(begin, shift); i < end; ++i) {
                echo[i] += weight * sound[i - shift];
            }
        }
    }
    return echo;
}

std::vector<float> pinkNoise(std::size_t samples, double rms, unsigned seed) {
    std::mt19937 engine(seed);
    std::normal_distribution<double> normal;
    // Kellet's filter: three poles and a constant fall by 3 dB an octave.
    double a = 0;
    double b = 0;
    double c = 0;
    std::vector<float> noise(samples);
    for (float& sample : noise) {
        const double white = normal(engine);
        a = 0.99765 * a + 0.0990460 * white;
        b = 0.96300 * b + 0.2965164 * white;
        c = 0.57000 * c + 1.0526913 * white;
        sample = static_cast<float>(a + b + c + 0.1848 * white);
    }
    const double scale = rms / rmsOf(noise);
    for (float& sample : noise) {
        sample = static_cast<float>(scale * static_cast<double>(sample));
    }
    return noise;
}

std::vector<float> babble(std::size_t samples, double rms, unsigned seed) {
    auto sound = pinkNoise(samples, 1.0, seed);
    std::mt19937 engine(seed + 1000);
    std::uniform_real_distribution<double> length(0.12, 0.3);
    std::uniform_real_distribution<double> level(0.2, 1.0);
    for (std::size_t begin = 0; begin < samples;) {
        const auto end = std::min(begin + static_cast<std::size_t>(length(engine) * roomRate), samples);
        const double loud = engine() % 6 == 0 ? 0.0 : level(engine);
        for (std::size_t i = begin; i < end; ++i) {
            const double phase = static_cast<double>(i - begin) / static_cast<double>(end - begin);
            sound[i] *= static_cast<float>(loud * std::sin(std::numbers::pi * phase));
        }
        begin = end;
    }
    const double scale = rms / rmsOf(sound);
    for (float& sample : sound) {
        sample = static_cast<float>(scale * static_cast<double>(sample));
    }
    return sound;
}

double rmsOf(std::span<const float> samples) {
    double sum = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * static_cast<double>(sample);
    }
    return samples.empty() ? 0 : std::sqrt(sum / static_cast<double>(samples.size()));
}

}  // namespace tarn::test
