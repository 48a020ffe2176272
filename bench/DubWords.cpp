// What is still understood of a dub that is spoken faster to keep up: the word errors of the relay's
// recogniser on known sentences that have passed the dub's chain.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <span>
#include <stdexcept>
#include <string>
#include <vector>

#include "SpokenSentences.h"
#include "TarnCore/audio/DubChain.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "TarnPlatform/audio/RateConverter.h"
#include "VoicePrograms.h"
#include "WordErrors.h"
#include "core_audio/FakeEngine.h"

namespace tarn::bench {
namespace {

constexpr std::size_t block = 240;  // frames: 10 ms
constexpr double pause = 1;         // s between two sentences, which ends an utterance spoken faster, too

using Sentences = std::vector<std::vector<std::byte>>;

std::vector<std::byte> serviceVoice(const VoicePrograms& programs, const std::string& voice,
                                    const char* text) {
    std::vector<std::int16_t> samples;
    for (const float sample : programs.flite(voice, text, qwenOutputSampleRate)) {
        samples.push_back(static_cast<std::int16_t>(std::lround(sample * 32767)));
    }
    samples.resize(samples.size() + static_cast<std::size_t>(pause * qwenOutputSampleRate));
    return toServiceBytes(samples);
}

/// A dub that is rendered as fast as the machine goes.
struct Dub {
    test::FakeEngine engine{std::make_shared<test::FakeEngine::Script>()};
    DubChain chain;
    std::vector<float> heard;

    Dub(double rate, bool keepsUp) {
        chain.connect(engine, static_cast<float>(rate));
        chain.setKeepsUp(keepsUp);
        chain.play();
    }
    void hearUntil(double waiting) {
        while (chain.queuedSeconds() > waiting) {
            heard.resize(heard.size() + block);
            engine.mainMixerNode().renderRt(std::span(heard).last(block));
        }
    }
};

struct Way {
    const char* name;
    double rate;
    bool keepsUp;
    double waiting;  ///< s: the next sentence comes when no more wait
};

constexpr double everything = 1e9;
constexpr Way ways[] = {
    {"1.0", 1, false, everything},
    {"1.1", 1.1, false, everything},
    {"1.2", 1.2, false, everything},
    {"1.3", DubPace::fastest, false, everything},
    {"keeps up, all waits", 1, true, everything},
    {"keeps up, changing", 1, true, 1.5},
};

struct Passed {
    std::vector<float> sound;  ///< 16 kHz
    double faster = 1;
};

Passed pass(const Sentences& sentences, const Way& way) {
    Dub dub(way.rate, way.keepsUp);
    std::size_t bytes = 0;
    for (const auto& sentence : sentences) {
        dub.hearUntil(way.waiting);
        // One utterance for all, so that none is skipped.
        dub.chain.enqueue(sentence);
        bytes += sentence.size();
    }
    dub.hearUntil(0);
    Passed passed;
    passed.faster = static_cast<double>(bytes) / 2 / static_cast<double>(dub.heard.size());
    auto converter = RateConverter::make(qwenOutputSampleRate, qwenInputSampleRate).value();
    converter.write(dub.heard);
    passed.sound.resize(dub.heard.size());
    passed.sound.resize(converter.read(passed.sound));
    return passed;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) try {
    using namespace tarn::bench;
    CLI::App app("What the recogniser understands of a dub that is spoken faster");
    std::vector<std::string> voices{"awb", "slt", "rms"};
    std::size_t count = spokenSentences().size();
    app.add_option("--voice", voices, "of flite; several may be named");
    app.add_option("--sentences", count, "of each voice")->check(CLI::Range(std::size_t{1}, count));
    CLI11_PARSE(app, argc, argv);
    std::vector<Sentences> sounds;
    std::string words;
    const VoicePrograms programs;
    for (const auto& voice : voices) {
        auto& sentences = sounds.emplace_back();
        for (const auto& sentence : spokenSentences().first(count)) {
            sentences.push_back(serviceVoice(programs, voice, sentence.text));
        }
    }
    for (const auto& sentence : spokenSentences().first(count)) {
        words += std::string(sentence.text) + ' ';
    }
    std::printf("| speed | measured | wrong words | of | | more than at 1.0, points |");
    for (const auto& voice : voices) {
        std::printf(" %s |", voice.c_str());
    }
    std::printf("\n|---|---|---|---|---|---|");
    for (std::size_t i = 0; i < voices.size(); ++i) {
        std::printf("---|");
    }
    std::printf("\n");
    double first = -1;
    for (const Way& way : ways) {
        WordErrors all;
        std::string each;
        double faster = 0;
        for (const auto& sentences : sounds) {
            const Passed passed = pass(sentences, way);
            const WordErrors errors = recognise(passed.sound, words);
            all.errors += errors.errors;
            all.words += errors.words;
            each += ' ' + std::to_string(errors.errors) + " |";
            faster += passed.faster / static_cast<double>(sounds.size());
        }
        first = first < 0 ? all.percent() : first;
        std::printf("| %s | %.3f | %d | %d | %.1f %% | %+.1f |%s\n", way.name, faster, all.errors, all.words,
                    all.percent(), all.percent() - first, each.c_str());
        std::fflush(stdout);
    }
} catch (const std::exception& error) {
    std::fprintf(stderr, "dub_words: %s\n", error.what());
    return 1;
}
