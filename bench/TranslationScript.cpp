#include "TranslationScript.h"

#include <algorithm>
#include <cmath>
#include <random>

#include "TarnCore/audio/ServiceAudio.h"

namespace tarn::bench {

std::vector<Word> script(const Scene& scene) {
    std::mt19937 ofSentences(scene.seed);
    std::mt19937 ofWords(scene.seed);
    // Not std's distributions, which differ between libraries.
    const auto between = [](std::mt19937& random, double low, double high) {
        return low + (high - low) * static_cast<double>(random()) / 4294967296.0;
    };
    std::vector<Word> words;
    double now = 0;
    double free = 0;  // when the service has handed over all so far
    for (int utterance = 0; now < scene.seconds; ++utterance) {
        // From a third of the mean to three times as long, the short ones more often.
        const double said = scene.sentence * std::pow(3, between(ofSentences, -1, 1)) / 1.2137;
        now += said;
        double left = said * scene.longer;
        double arrives = std::max(free, now + 0.5);
        while (left > 0) {
            double length = between(ofWords, 0.2, 0.5);
            length = left - length < 0.1 ? left : length;
            words.push_back({.arrives = arrives,
                             .frames = static_cast<std::size_t>(std::lround(length * qwenOutputSampleRate)),
                             .utterance = utterance});
            arrives += length / scene.hurry;
            left -= length;
        }
        words.back().ends = true;
        free = arrives;
        now += said * (1 / scene.speech - 1) * between(ofSentences, 0, 2);
    }
    return words;
}

}  // namespace tarn::bench
