// How late the dub is heard where the translation is longer than what was said, with and without keeping up.
// Time is simulated: a service hands over each utterance's voice once it has been said, and the dub is
// rendered block by block. Each word is a level of its own, so that it is found again in what is heard.
#include <CLI/CLI.hpp>
#include <array>
#include <cstdio>
#include <vector>

#include "Figures.h"
#include "TarnCore/audio/DubChain.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "TranslationScript.h"
#include "core_audio/FakeEngine.h"

namespace tarn::bench {
namespace {

constexpr std::size_t block = 240;  // frames: 10 ms
constexpr double blockSeconds = block / qwenOutputSampleRate;
constexpr double minute = 60;

struct Outcome {
    std::vector<Word> words;
    std::vector<double> waited;                   ///< s, at each block while somebody spoke
    double spoken = 0;                            ///< s of voice that were heard, at its own speed
    double sounding = 0;                          ///< s that this took
    double skipped = 0;                           ///< s
    std::uint64_t sound = 14695981039346656037U;  ///< FNV-1a over all samples
};

void mix(std::uint64_t& hash, std::span<const float> samples) {
    for (const std::byte byte : std::as_bytes(samples)) {
        hash = (hash ^ static_cast<std::uint64_t>(byte)) * 1099511628211U;
    }
}

Outcome play(const Scene& scene, bool keepsUp) {
    Outcome out;
    out.words = script(scene);
    test::FakeEngine engine(std::make_shared<test::FakeEngine::Script>());
    DubChain chain;
    chain.connect(engine, 1);
    chain.setKeepsUp(keepsUp);
    chain.play();
    std::array<float, block> samples{};
    std::size_t next = 0;
    int level = 0;        // of the last sample
    std::size_t run = 0;  // samples of that level; a fade between two words passes others' levels briefly
    for (std::uint64_t turn = 0;; ++turn) {
        const double now = static_cast<double>(turn) * blockSeconds;
        for (; next < out.words.size() && out.words[next].arrives <= now; ++next) {
            const Word& word = out.words[next];
            chain.enqueue(
                toServiceBytes(std::vector<std::int16_t>(word.frames, static_cast<std::int16_t>(next + 1))));
            if (word.ends) {
                chain.endUtterance();
            }
        }
        out.skipped += chain.takeSkippedSeconds();
        const double waits = chain.queuedSeconds();
        if (now < scene.seconds) {
            out.waited.push_back(waits);
        } else if (waits == 0 && next == out.words.size()) {
            break;
        }
        samples.fill(0);  // which the engine would hand over
        engine.mainMixerNode().renderRt(samples);
        mix(out.sound, samples);
        std::size_t sounding = 0;
        for (std::size_t i = 0; i < block; ++i) {
            const int heard = static_cast<int>(std::lround(samples[i] * 32768));
            run = heard == level ? run + 1 : 1;
            level = heard;
            sounding += heard > 0 ? 1U : 0U;
            if (run == block / 2 && level > 0 && static_cast<std::size_t>(level) <= next) {
                Word& word = out.words[static_cast<std::size_t>(level) - 1];
                if (word.heard < 0) {
                    word.heard =
                        now + (static_cast<double>(i + 1) - static_cast<double>(run)) / qwenOutputSampleRate;
                }
            }
        }
        out.sounding += static_cast<double>(sounding) / qwenOutputSampleRate;
    }
    out.spoken = static_cast<double>(chain.counters().framesPlayed) / qwenOutputSampleRate;
    return out;
}

double percentAbove(const std::vector<double>& values, double mark) {
    return 100 * static_cast<double>(std::ranges::count_if(values, [&](double x) { return x > mark; })) /
           static_cast<double>(values.size());
}

void print(const Scene& scene, bool keepsUp) {
    const Outcome out = play(scene, keepsUp);
    std::vector<double> lags;
    std::vector<std::vector<double>> byMinute(static_cast<std::size_t>(scene.seconds / minute) + 1);
    std::vector<int> heard;
    std::vector<int> said;
    for (const Word& word : out.words) {
        const auto utterance = static_cast<std::size_t>(word.utterance);
        said.resize(std::max(said.size(), utterance + 1));
        heard.resize(said.size());
        ++said[utterance];
        if (word.heard < 0) {
            continue;
        }
        ++heard[utterance];
        lags.push_back(word.heard - word.arrives);
        const auto at = static_cast<std::size_t>(word.heard / minute);
        if (at < byMinute.size()) {
            byMinute[at].push_back(lags.back());
        }
    }
    std::size_t skipped = 0;
    std::size_t torn = 0;
    for (std::size_t i = 0; i < said.size(); ++i) {
        skipped += heard[i] == 0 ? 1U : 0U;
        torn += heard[i] > 0 && heard[i] < said[i] ? 1U : 0U;
    }
    std::printf(
        "| %.1f | %3.0f %% | %-3s | %5.1f | %5.1f | %5.1f | %3.0f %% | %3.0f %% | %.3f | %zu of %zu, %.1f s "
        "|",
        scene.longer, 100 * scene.speech, keepsUp ? "on" : "off", median(lags), quantile(lags, 0.95),
        quantile(lags, 1), percentAbove(out.waited, 2), percentAbove(out.waited, 10),
        out.spoken / out.sounding, skipped, said.size(), out.skipped);
    for (std::size_t i = 0; i + 1 < byMinute.size(); ++i) {
        std::printf(byMinute[i].empty() ? " –" : " %.1f", byMinute[i].empty() ? 0 : median(byMinute[i]));
    }
    std::printf(" |\n");
    if (torn > 0) {
        std::printf("%zu utterances were heard in part\n", torn);
    }
}

void compare(Scene scene, double sentence, double hurry) {
    scene.longer = 0.8;
    scene.sentence = sentence;
    scene.hurry = hurry;
    const Outcome on = play(scene, true);
    const Outcome off = play(scene, false);
    std::printf("| %.1f s | %.0f × | %4.1f s | %3.0f %% | %016llx | %016llx | %s |\n", sentence, hurry,
                quantile(off.waited, 1), percentAbove(off.waited, 2),
                static_cast<unsigned long long>(on.sound), static_cast<unsigned long long>(off.sound),
                on.sound == off.sound ? "yes" : "NO");
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    using namespace tarn::bench;
    CLI::App app("How late the dub is heard where the translation is longer than what was said");
    Scene scene;
    app.add_option("--minutes", scene.seconds, "that are spoken, 10 unless told")
        ->check(CLI::PositiveNumber)
        ->transform([](const std::string& minutes) { return std::to_string(minute * std::stod(minutes)); });
    app.add_option("--sentence", scene.sentence, "seconds, the mean")->check(CLI::PositiveNumber);
    app.add_option("--hurry", scene.hurry, "the speed at which a voice arrives")->check(CLI::PositiveNumber);
    app.add_option("--seed", scene.seed, "of the sentences' lengths");
    CLI11_PARSE(app, argc, argv);
    std::printf(
        "| times as long | speech | keeps up | lag: median | 95 %% | most | waits > 2 s | > 10 s | speed | "
        "skipped | median lag in each minute |\n|---|---|---|---|---|---|---|---|---|---|---|\n");
    for (const double longer : {1.1, 1.3, 1.6}) {
        for (const double speech : {0.85, 1.0}) {
            for (const bool keepsUp : {true, false}) {
                scene.longer = longer;
                scene.speech = speech;
                print(scene, keepsUp);
            }
        }
    }
    std::printf(
        "\n0.8 times as long:\n\n| sentences | arrive | waits most, off | > 2 s, off | sound, on | off | the "
        "same |\n"
        "|---|---|---|---|---|---|---|\n");
    scene.speech = 0.85;
    for (const auto& [sentence, hurry] :
         {std::pair{scene.sentence, 1.0}, {0.9, 4.0}, {scene.sentence, 4.0}}) {
        compare(scene, sentence, hurry);
    }
}
