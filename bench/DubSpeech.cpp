// How well translated speech is understood at another speed, with our chain and with the packaged libraries.
//
// A row for each candidate and rate:
//   WER             words that a recogniser gets wrong, in percent: recordings of people, then each synthetic
//                   voice, then all
//   length          deviation of the length from 1/rate, all utterances, percent
//   pitch           deviation of a voice-like tone's pitch, cents
//   first           milliseconds of input until the first output
// The recogniser hears the stretched speech as it is, so that 2.0 is hard for every candidate alike.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <exception>
#include <map>
#include <numbers>
#include <optional>
#include <thread>

#include "InParallel.h"
#include "SpeechMaterial.h"
#include "Stretcher.h"

namespace {

using namespace tarn::bench;

struct Row {
    const StretcherKind* kind = nullptr;
    double rate = 1;
    std::map<std::string, WordCount> errors{};  ///< by group
    double length = 0;
    double pitch = 0;
    double firstMs = 0;
};

/// Harmonics of `pitch`, falling by 6 dB an octave: as regular as no voice is, so that a deviation shows.
std::vector<float> voiceLike(double pitch, double seconds) {
    std::vector<float> samples(static_cast<std::size_t>(seconds * dubRate));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        double sum = 0;
        for (int harmonic = 1; harmonic <= 12; ++harmonic) {
            sum += std::sin(2 * std::numbers::pi * pitch * harmonic * static_cast<double>(i) / dubRate) /
                   harmonic;
        }
        samples[i] = static_cast<float>(0.25 * sum);
    }
    return samples;
}

/// Cents between the strongest frequency near `pitch` and `pitch`, within half a semitone. The middle of
/// `samples` is looked at through a Hann window.
double pitchDeviation(std::span<const float> samples, double pitch) {
    const auto middle = samples.subspan(samples.size() / 8, samples.size() * 3 / 4);
    double best = 0;
    double strongest = -1;
    for (double cents = -50; cents <= 50; cents += 0.5) {
        const double step = 2 * std::numbers::pi * pitch * std::exp2(cents / 1200) / dubRate;
        const double turn = 2 * std::numbers::pi / static_cast<double>(middle.size());
        double re = 0;
        double im = 0;
        for (std::size_t i = 0; i < middle.size(); ++i) {
            const auto at = static_cast<double>(i);
            const double x = static_cast<double>(middle[i]) * (1 - std::cos(turn * at));
            re += x * std::cos(step * at);
            im += x * std::sin(step * at);
        }
        if (std::hypot(re, im) > strongest) {
            strongest = std::hypot(re, im);
            best = cents;
        }
    }
    return best;
}

double firstOutputMs(const StretcherKind& kind, double rate, std::span<const float> input) {
    const auto stretcher = kind.make(rate);
    std::vector<float> part(64);
    constexpr std::size_t step = dubRate / 1000;
    std::size_t written = 0;
    while (written + step <= input.size()) {
        stretcher->write(input.subspan(written, step));
        written += step;
        if (stretcher->read(part) > 0) {
            break;
        }
    }
    return 1000.0 * static_cast<double>(written) / dubRate;
}

void measure(Row& row, const std::vector<Utterance>& material, bool listen) {
    std::optional<Hearing> hearing;
    if (listen) {
        hearing.emplace();
    }
    double in = 0;
    double out = 0;
    for (const auto& utterance : material) {
        const auto stretcher = row.kind->make(row.rate);
        const auto sound = stretched(*stretcher, utterance.samples);
        in += static_cast<double>(utterance.samples.size());
        out += static_cast<double>(sound.size());
        if (hearing) {
            row.errors[utterance.group] += wordErrors(utterance.text, hearing->hear(sound));
        }
    }
    row.length = 100 * (out * row.rate / in - 1);
    for (const double pitch : {95.0, 130.0, 210.0}) {
        const auto tone = voiceLike(pitch, 4);
        const auto sound = stretched(*row.kind->make(row.rate), tone);
        const double deviation = pitchDeviation(sound, pitch);
        row.pitch = std::abs(deviation) > std::abs(row.pitch) ? deviation : row.pitch;
        row.firstMs = std::max(row.firstMs, firstOutputMs(*row.kind, row.rate, tone));
    }
}

void print(const Row& row) {
    std::printf("%-24s %5.2f ", row.kind->name.c_str(), row.rate);
    WordCount all;
    for (const auto* group : {"recordings", "awb", "slt", "rms"}) {
        const auto found = row.errors.find(group);
        const auto count = found == row.errors.end() ? WordCount{} : found->second;
        all += count;
        std::printf(" %6.1f", count.percent());
    }
    std::printf("  %6.1f (%4d/%4d) %8.2f %7.1f %7.0f\n", all.percent(), all.wrong, all.all, row.length,
                row.pitch, row.firstMs);
    std::fflush(stdout);
}

int run(int sentences, unsigned jobs, std::vector<double> rates, const std::string& only) {
    auto kinds = packagedStretchers();
    kinds.insert(kinds.begin(), ownStretcher());
    std::erase_if(kinds, [&](const auto& kind) { return kind.name.find(only) == std::string::npos; });
    if (rates.empty()) {
        rates = {0.5, 0.75, 1.0, 1.25, 1.5, 2.0};
    }
    const auto material = speechMaterial(sentences);
    std::vector<Row> rows;
    for (const double rate : rates) {
        for (const auto& kind : kinds) {
            auto& row = rows.emplace_back();
            row.kind = &kind;
            row.rate = rate;
        }
    }
    std::printf("%-24s %5s  %6s %6s %6s %6s  %6s %11s %8s %7s %7s\n", "candidate", "rate", "people", "awb",
                "slt", "rms", "WER %", "", "length %", "cents", "first");
    std::fflush(stdout);
    inParallel(
        jobs, rows.size(), [&](std::size_t i) { measure(rows[i], material, sentences >= 0); },
        [&](std::size_t i) { print(rows[i]); });
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Understanding of stretched speech: our chain beside the packaged libraries.");
    int sentences = 30;
    unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
    std::vector<double> rates;
    std::string only;
    app.add_option("--sentences", sentences, "in each synthetic voice; -1: do not listen")
        ->check(CLI::Range(-1, 30));
    app.add_option("--jobs", jobs, "threads")->check(CLI::Range(1U, 64U));
    app.add_option("--rates", rates)->check(CLI::Range(0.5, 2.0));
    app.add_option("--only", only, "candidates whose name has this in it");
    CLI11_PARSE(app, argc, argv);
    try {
        return run(sentences, jobs, rates, only);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dub_speech: %s\n", error.what());
        return 1;
    }
}
