// Cancellers of echo in rooms and troubles: what is left of our own voice from the loudspeaker, and what a
// recogniser understands of somebody who speaks at the same time.
//
//   echo_table [--room TEXT ...] [--candidate TEXT ...] [--no-words]
//
// One line per candidate and room:
//
// - first, last: dB by which the echo is weaker where it is alone, from 3 s to 12 s and in the last 5 s
// - gain: dB, of the near talker during double talk, by least squares
// - near/rest: dB, of the near talker over everything else during double talk
// - WER: % of the near talker's words that were not understood
// - cost: % of a core
//
// Baselines in each room: "near talker alone", unprocessed, and everything unprocessed ("nothing").

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>

#include "EchoCandidates.h"
#include "EchoSpeech.h"
#include "WordErrors.h"
#include "support/EchoRoom.h"

namespace tarn::bench {
namespace {

constexpr double nearFrom = 12;  // seconds
constexpr double tail = 6;       // seconds of echo alone at the end
constexpr const char* alone = "near talker alone";

struct Trouble {
    std::string name;
    test::EchoRoom room;
    double noiseSnrDb = 40;
    bool farSilent = false;
    bool gap = false;
    double jitterBlocks = 0;
    double nearDb = -26;  // of full scale
    double clockPpm = 0;
};

std::vector<Trouble> troubles() {
    const test::EchoRoom live{.rt60 = 0.4, .delay = 0.060};
    return {
        {.name = "plain", .room = {}},
        {.name = "live", .room = live},
        {.name = "loud 0 dB", .room = {.gainDb = 0}},
        {.name = "loud +6 dB", .room = {.gainDb = 6}},
        {.name = "drift 100 ppm", .room = {.driftPpm = 100}},
        {.name = "clocks 100 ppm, jitter", .room = {}, .jitterBlocks = 1, .clockPpm = 100},
        {.name = "delay moves 50 ms", .room = {.jump = 0.050, .jumpFrom = 25, .jumpTo = 50}},
        {.name = "delay 350 ms", .room = {.delay = 0.350}},
        {.name = "clipping", .room = {.clipDb = 6}},
        {.name = "noise 20 dB", .room = {}, .noiseSnrDb = 20},
        {.name = "gap", .room = {}, .gap = true},
        {.name = "all at once",
         .room = {.rt60 = 0.3, .delay = 0.120, .gainDb = 0, .driftPpm = 50, .clipDb = 6},
         .noiseSnrDb = 20,
         .jitterBlocks = 1},
        {.name = "headphones", .room = {.gainDb = -200}},
        {.name = "far silent", .room = {}, .farSilent = true},
        {.name = "far silent, noise 20 dB", .room = {}, .noiseSnrDb = 20, .farSilent = true},
        {.name = "far silent, noise 10 dB", .room = {}, .noiseSnrDb = 10, .farSilent = true},
        {.name = "far silent, -35 dB", .room = {}, .farSilent = true, .nearDb = -35},
        {.name = "far silent, -45 dB", .room = {}, .noiseSnrDb = 30, .farSilent = true, .nearDb = -45},
    };
}

std::size_t at(double seconds) {
    return static_cast<std::size_t>(seconds * test::roomRate);
}

double amplitude(double db) {
    return std::pow(10, db / 20);
}

/// One room with everybody in it.
struct Stage {
    EchoScene scene;
    std::vector<float> near;  // as heard by the microphone, as long as the scene
    std::string words;
    double nearTo;  // seconds
};

Stage stageOf(const Trouble& trouble) {
    const auto talk = nearTalk(amplitude(trouble.nearDb));
    const double nearTo = nearFrom + static_cast<double>(talk.samples.size()) / test::roomRate;
    const auto length = at(nearTo + tail);
    Stage stage{.scene = {}, .near = std::vector<float>(length), .words = talk.words, .nearTo = nearTo};
    std::ranges::copy(talk.samples, stage.near.begin() + static_cast<std::ptrdiff_t>(at(nearFrom)));
    auto& scene = stage.scene;
    scene.jitterBlocks = trouble.jitterBlocks;
    scene.clockPpm = trouble.clockPpm;
    scene.reference = trouble.farSilent
                          ? std::vector<float>(length)
                          : farTalk(static_cast<double>(length) / test::roomRate, amplitude(-26));
    scene.reference.resize(length);
    if (trouble.gap) {
        scene.gapFrom = 30;
        scene.gapTo = 45;
        std::fill(scene.reference.begin() + static_cast<std::ptrdiff_t>(at(scene.gapFrom)),
                  scene.reference.begin() + static_cast<std::ptrdiff_t>(at(scene.gapTo)), 0.0F);
    }
    const auto echo = test::echoOf(scene.reference, trouble.room);
    const auto noise = test::pinkNoise(length, amplitude(trouble.nearDb - trouble.noiseSnrDb), 7);
    scene.microphone.resize(length);
    for (std::size_t i = 0; i < length; ++i) {
        scene.microphone[i] = std::clamp(echo[i] + noise[i] + stage.near[i], -1.0F, 1.0F);
    }
    return stage;
}

double powerDb(std::span<const float> samples, double from, double to) {
    const auto part = samples.subspan(at(from), at(to) - at(from));
    return 20 * std::log10(test::rmsOf(part) + 1e-9);
}

struct NearFit {
    double gainDb = 0;
    double overRestDb = 0;
};

// Least squares of the near talker, at the best delay, in what came out.
NearFit fitNear(std::span<const float> out, const Stage& stage) {
    const auto from = at(nearFrom + 1);
    const auto to = at(stage.nearTo);
    constexpr std::size_t mostLate = 1200;
    NearFit best;
    double bestShare = 0;
    for (std::size_t late = 0; late < mostLate; ++late) {
        float xy = 0;
        float xx = 0;
        float yy = 0;
        for (std::size_t i = from; i < to; i += 1) {
            const float x = stage.near[i - late];
            xy += x * out[i];
            xx += x * x;
            yy += out[i] * out[i];
        }
        const double share = static_cast<double>(xy) * static_cast<double>(xy) /
                             (static_cast<double>(xx) * static_cast<double>(yy) + 1e-12);
        if (share > bestShare) {
            bestShare = share;
            best.gainDb = 20 * std::log10(static_cast<double>(std::abs(xy / xx)) + 1e-9);
            best.overRestDb = 10 * std::log10(share / (1 - share + 1e-9));
        }
    }
    return best;
}

void report(const Trouble& trouble, const Stage& stage, const EchoCandidate& candidate, bool words) {
    const auto processed = candidate.process(stage.scene);
    const double end = stage.nearTo + tail;
    const auto erle = [&](double from, double to) {
        return powerDb(stage.scene.microphone, from, to) - powerDb(processed.samples, from, to);
    };
    const auto near = fitNear(processed.samples, stage);
    std::string errors = "-";
    if (words) {
        const auto from = at(nearFrom - 0.5);
        const auto part = std::span(processed.samples).subspan(from, at(stage.nearTo) - from);
        char text[16];
        std::snprintf(text, sizeof text, "%.1f", recognise(part, stage.words).percent());
        errors = text;
    }
    std::printf("%-24s %-24s %6.1f %6.1f %6.1f %9.1f %6s %6.2f\n", trouble.name.c_str(),
                candidate.name.c_str(), trouble.farSilent ? 0.0 : erle(3, nearFrom),
                trouble.farSilent ? 0.0 : erle(end - 5, end - 0.1), near.gainDb, near.overRestDb,
                errors.c_str(), 100 * processed.seconds / end);
    std::fflush(stdout);
}

int run(const std::vector<std::string>& rooms, const std::vector<std::string>& names, bool words) {
    const auto chosen = [](const std::string& name, const std::vector<std::string>& parts) {
        return parts.empty() ||
               std::ranges::any_of(parts, [&](const std::string& part) { return name.contains(part); });
    };
    auto candidates = libraryCandidates();
    std::ranges::move(alignedCandidates(), std::back_inserter(candidates));
    std::ranges::move(ownCandidates(), std::back_inserter(candidates));
    std::printf("%-24s %-24s %6s %6s %6s %9s %6s %6s\n", "room", "candidate", "first", "last", "gain",
                "near/rest", "WER", "cost");
    for (const auto& trouble : troubles()) {
        if (!chosen(trouble.name, rooms)) {
            continue;
        }
        const auto stage = stageOf(trouble);
        if (words && chosen(alone, names)) {
            const auto from = at(nearFrom - 0.5);
            std::printf("%-24s %-24s %37.1f\n", trouble.name.c_str(), alone,
                        recognise(std::span(stage.near).subspan(from, at(stage.nearTo) - from), stage.words)
                            .percent());
        }
        for (const auto& candidate : candidates) {
            if (chosen(candidate.name, names)) {
                report(trouble, stage, candidate, words);
            }
        }
    }
    return 0;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    CLI::App app("Cancellers of echo in rooms and troubles");
    std::vector<std::string> rooms;
    std::vector<std::string> candidates;
    bool noWords = false;
    app.add_option("--room", rooms, "only rooms whose name contains this");
    app.add_option("--candidate", candidates, "only candidates whose name contains this");
    app.add_flag("--no-words", noWords, "leave the recogniser out");
    CLI11_PARSE(app, argc, argv);
    try {
        return tarn::bench::run(rooms, candidates, !noWords);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "echo_table: %s\n", error.what());
        return 1;
    }
}
