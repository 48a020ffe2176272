// What becomes of speech that is turned up beyond full scale: the mixer's limiter beside other ways to keep
// sound within it. A row for each way and gain: words that a recogniser gets wrong, in percent, of recordings
// of people, of each synthetic voice and of all, and the loudness that is left, in dB below full scale.
#include <CLI/CLI.hpp>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <functional>
#include <map>
#include <thread>

#include "InParallel.h"
#include "SpeechMaterial.h"
#include "Stretcher.h"
#include "TarnPlatform/rendering/PeakLimiter.h"

namespace {

using namespace tarn::bench;

using Limit = std::function<void(std::vector<float>&)>;

struct Way {
    const char* name;
    Limit limit;
};

/// A gain that falls at once and returns within about `releaseMs`.
Limit followingGain(double releaseMs) {
    return [releaseMs](std::vector<float>& sound) {
        const auto back = static_cast<float>(1 - std::exp(-1000.0 / (releaseMs * dubRate)));
        float gain = 1;
        for (float& sample : sound) {
            gain += (1 - gain) * back;
            gain = std::min(gain, 1 / std::max(std::abs(sample), 1.0F));
            sample *= gain;
        }
    };
}

std::vector<Way> ways() {
    return {
        {"PeakLimiter", [](auto& sound) { tarn::PeakLimiter().limitRt(sound); }},
        {"cut off",
         [](auto& sound) { std::ranges::for_each(sound, [](float& x) { x = std::clamp(x, -1.0F, 1.0F); }); }},
        {"tanh above a half",  // bends what is within full scale too
         [](auto& sound) {
             std::ranges::for_each(sound, [](float& x) {
                 const float over = std::abs(x) - 0.5F;
                 x = over > 0 ? std::copysign(0.5F + 0.5F * std::tanh(2 * over), x) : x;
             });
         }},
        {"gain, back in 2 ms", followingGain(2)},
        {"gain, back in 10 ms", followingGain(10)},
        {"gain, back in 50 ms", followingGain(50)},
        {"gain, back in 200 ms", followingGain(200)},
    };
}

struct Row {
    const Way* way = nullptr;
    double gain = 0;  ///< dB
    std::map<std::string, WordCount> errors{};
    double power = 0;
    double frames = 0;
};

void measure(Row& row, const std::vector<Utterance>& material) {
    Hearing hearing;
    const auto factor = static_cast<float>(std::pow(10, row.gain / 20));
    for (const auto& utterance : material) {
        auto sound = utterance.samples;
        for (float& sample : sound) {
            sample *= factor;
        }
        row.way->limit(sound);
        for (const float sample : sound) {
            row.power += static_cast<double>(sample) * static_cast<double>(sample);
        }
        row.frames += static_cast<double>(sound.size());
        row.errors[utterance.group] += wordErrors(utterance.text, hearing.hear(sound));
    }
}

void print(const Row& row) {
    std::printf("%-22s %+5.0f ", row.way->name, row.gain);
    WordCount all;
    for (const auto* group : {"recordings", "awb", "slt", "rms"}) {
        const auto found = row.errors.find(group);
        const auto count = found == row.errors.end() ? WordCount{} : found->second;
        all += count;
        std::printf(" %6.1f", count.percent());
    }
    std::printf("  %6.1f (%4d/%4d) %8.1f\n", all.percent(), all.wrong, all.all,
                10 * std::log10(row.power / row.frames));
    std::fflush(stdout);
}

void run(int sentences, unsigned jobs, const std::vector<double>& gains) {
    const auto material = speechMaterial(sentences);
    const auto all = ways();
    std::vector<Row> rows;
    for (const double gain : gains) {
        for (const auto& way : all) {
            auto& row = rows.emplace_back();
            row.way = &way;
            row.gain = gain;
        }
    }
    std::printf("%-22s %5s  %6s %6s %6s %6s  %6s %11s %8s\n", "way", "dB", "people", "awb", "slt", "rms",
                "WER %", "", "dBFS");
    std::fflush(stdout);
    inParallel(
        jobs, rows.size(), [&](std::size_t i) { measure(rows[i], material); },
        [&](std::size_t i) { print(rows[i]); });
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("Understanding of speech that is turned up beyond full scale.");
    int sentences = 10;
    unsigned jobs = std::max(1U, std::thread::hardware_concurrency());
    std::vector<double> gains{0, 6, 12, 20, 24};
    app.add_option("--sentences", sentences, "in each synthetic voice")->check(CLI::Range(0, 30));
    app.add_option("--jobs", jobs, "threads")->check(CLI::Range(1U, 64U));
    app.add_option("--gains", gains, "dB")->check(CLI::Range(-96.0, 40.0));
    CLI11_PARSE(app, argc, argv);
    try {
        run(sentences, jobs, gains);
        return 0;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "loud_speech: %s\n", error.what());
        return 1;
    }
}
