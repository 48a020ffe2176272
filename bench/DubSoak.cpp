// A long tone through the dub's player while every core is busy: how often is it broken, and by whom? A bare
// stream plays the same tone beside it.
#include <CLI/CLI.hpp>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <thread>
#include <vector>

#include "Figures.h"
#include "GraphEar.h"
#include "TarnCore/audio/AudioPlayer.h"
#include "TarnCore/audio/ServiceAudio.h"

namespace {

using namespace tarn::bench;
using namespace std::chrono_literals;

constexpr int wave = 48;           // samples at 24 kHz: 500 Hz
constexpr int chunk = 100 * wave;  // 0.2 s

float sine(std::uint64_t at) {
    return 0.5F * static_cast<float>(std::sin(2 * std::numbers::pi * static_cast<double>(at % wave) / wave));
}

class BareTone final : public tarn::GraphStreamHandler {
public:
    BareTone() {
        peer_.open({.capture = false,
                    .name = "tarn-bench-bare",
                    .properties = {},
                    .rate = 24000,
                    .channels = {},
                    .autoconnect = true,
                    .channelNames = {"MONO"}},
                   *this);
    }
    void renderRt(std::span<float> samples, std::int64_t) noexcept override {
        for (float& sample : samples) {
            sample = sine(at_++);
        }
    }

private:
    std::uint64_t at_ = 0;
    GraphPeer peer_;
};

void row(const char* name, const GraphEar& ear) {
    std::printf("  %-12s %10.1f %10llu %10llu\n", name, static_cast<double>(ear.frames()) / GraphEar::rate,
                static_cast<unsigned long long>(ear.breaks()),
                static_cast<unsigned long long>(ear.skipped()));
}

void measure(double seconds) {
    std::atomic<bool> done{false};
    std::vector<std::jthread> busy;
    busy.reserve(std::thread::hardware_concurrency());
    for (unsigned core = 0; core < std::thread::hardware_concurrency(); ++core) {
        busy.emplace_back([&] {
            while (!done) {
            }
        });
    }
    tarn::AudioPlayer player;
    if (const auto started = player.start(1); !started) {
        done = true;
        throw std::runtime_error(started.error().description);
    }
    std::vector<std::int16_t> samples;
    samples.reserve(chunk);
    for (int at = 0; at < chunk; ++at) {
        samples.push_back(
            static_cast<std::int16_t>(std::lround(32767 * sine(static_cast<std::uint64_t>(at)))));
    }
    const std::vector<std::byte> bytes = tarn::toServiceBytes(samples);
    for (int ahead = 0; ahead < 10; ++ahead) {
        player.enqueue(bytes);
    }
    BareTone bare;
    std::this_thread::sleep_for(500ms);
    GraphEar dubEar("tarn.dub");
    GraphEar bareEar("tarn-bench-bare");
    const auto begin = SteadyClock::now();
    std::uint64_t queued = 10;
    while (secondsSince(begin) < seconds) {
        // Two seconds ahead, as by the clock of the output.
        while (static_cast<double>(queued) * chunk - static_cast<double>(player.counters().framesPlayed) <
               2 * 24000) {
            player.enqueue(bytes);
            ++queued;
        }
        std::this_thread::sleep_for(50ms);
    }
    done = true;
    const auto counters = player.counters();
    std::printf("%.0f s with every core busy:\n  %-12s %10s %10s %10s\n", seconds, "", "s heard", "breaks",
                "skipped");
    row("dub", dubEar);
    row("bare stream", bareEar);
    std::printf("  underruns of ours (the queue was empty): %llu\n",
                static_cast<unsigned long long>(counters.ranDry));
    player.stop();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("Breaks in a long tone through the dub's player, with every core busy");
    double seconds = 600;
    program.add_option("seconds", seconds)->check(CLI::Range(1.0, 86400.0))->capture_default_str();
    CLI11_PARSE(program, argc, argv);
    try {
        measure(seconds);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dub_soak: %s\n", error.what());
        return 1;
    }
}
