// From the queue to the graph: how long after a chunk was queued its first sample is in the audio server's
// graph, beside a bare stream that writes the sample itself in its next callback.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <functional>
#include <random>
#include <thread>
#include <vector>

#include "Figures.h"
#include "GraphEar.h"
#include "TarnCore/audio/AudioPlayer.h"
#include "TarnCore/audio/ServiceAudio.h"

namespace {

using namespace tarn::bench;
using namespace std::chrono_literals;

/// The least that a stream can do.
class BareStream final : public tarn::GraphStreamHandler {
public:
    BareStream() {
        peer_.open({.capture = false,
                    .name = "tarn-bench-bare",
                    .properties = {},
                    .rate = 24000,
                    .channels = {},
                    .autoconnect = true,
                    .channelNames = {"MONO"}},
                   *this);
    }
    void click() { clicks_ = true; }
    void renderRt(std::span<float> samples, std::int64_t) noexcept override {
        std::ranges::fill(samples, 0.0F);
        if (clicks_.exchange(false)) {
            std::ranges::fill(samples.first(std::min<std::size_t>(samples.size(), 24)), 0.8F);
        }
    }

private:
    std::atomic<bool> clicks_{false};
    GraphPeer peer_;
};

std::vector<double> delays(GraphEar& ear, int clicks, const std::function<void()>& click) {
    std::mt19937 random(1);
    std::uniform_int_distribution<int> pause(150'000, 250'000);
    std::vector<double> all;
    for (int i = 0; i < clicks; ++i) {
        std::this_thread::sleep_for(std::chrono::microseconds(pause(random)));
        ear.listen();
        const std::int64_t begin = nanoseconds();
        click();
        while (ear.heardAt() == 0) {
            if (nanoseconds() - begin > 5'000'000'000) {
                throw std::runtime_error("a click was not heard");
            }
            std::this_thread::sleep_for(200us);
        }
        all.push_back(static_cast<double>(ear.heardAt() - begin) * 1e-6);
    }
    return all;
}

void row(const char* name, const std::vector<double>& all, double period) {
    std::printf("  %-28s %8.2f %8.2f %8.2f   median - period %+.2f\n", name, median(all), quantile(all, 0.99),
                quantile(all, 1), median(all) - period);
}

void measure(int clicks) {
    tarn::AudioPlayer player;
    if (const auto started = player.start(1); !started) {
        throw std::runtime_error(started.error().description);
    }
    BareStream bare;
    std::this_thread::sleep_for(500ms);
    GraphEar dubEar("tarn.dub");
    GraphEar bareEar("tarn-bench-bare");
    std::this_thread::sleep_for(500ms);

    const std::vector<std::byte> chunk = tarn::toServiceBytes(std::vector<std::int16_t>(240, 26000));
    const auto ours = delays(dubEar, clicks, [&] { player.enqueue(chunk); });
    const auto theirs = delays(bareEar, clicks, [&] { bare.click(); });
    const double period = dubEar.period() * 1e3;
    std::printf("%d clicks, graph period %.2f ms; from queueing to the first sample in the graph, in ms:\n",
                clicks, period);
    std::printf("  %-28s %8s %8s %8s\n", "", "median", "p99", "most");
    row("dub", ours, period);
    row("bare stream", theirs, period);
    player.stop();
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("The delay from a queued chunk of the dub to the audio server's graph");
    int clicks = 200;
    program.add_option("clicks", clicks, "clicks to measure")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    CLI11_PARSE(program, argc, argv);
    try {
        measure(clicks);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "dub_latency: %s\n", error.what());
        return 1;
    }
}
