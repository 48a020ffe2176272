// Processor time of 10 ms of the dub: the whole chain from the player node to the mixer, at several rates and
// gains, beside the packaged stretchers alone, which have neither queue nor gain nor limiter to pay for.
#include <benchmark/benchmark.h>

#include <cmath>
#include <numbers>
#include <vector>

#include "Stretcher.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "TarnPlatform/rendering/AudioUnitEQ.h"
#include "TarnPlatform/rendering/AudioUnitTimePitch.h"
#include "TarnPlatform/rendering/MainMixerNode.h"

namespace {

using namespace tarn::bench;

constexpr std::size_t block = dubRate / 100;
constexpr std::size_t chunk = dubRate / 10;  // as the service sends it

/// A voice-like tone whose pitch glides, so that no search finds what it found before.
std::vector<float> glide() {
    std::vector<float> samples(10 * dubRate);
    double phase = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        phase += (140 + 60 * std::sin(static_cast<double>(i) / dubRate)) / dubRate;
        double sum = 0;
        for (int harmonic = 1; harmonic <= 10; ++harmonic) {
            sum += std::sin(2 * std::numbers::pi * phase * harmonic) / harmonic;
        }
        samples[i] = static_cast<float>(0.25 * sum);
    }
    return samples;
}

/// Chunks of the glide, for ever.
class Chunks {
public:
    std::span<const float> next() {
        at_ = at_ + chunk > samples_.size() ? 0 : at_;
        const auto part = std::span<const float>(samples_).subspan(at_, chunk);
        at_ += chunk;
        return part;
    }

private:
    std::vector<float> samples_ = glide();
    std::size_t at_ = 0;
};

void chain(benchmark::State& state) {
    tarn::AudioPlayerNode player;
    tarn::AudioUnitTimePitch timePitch;
    tarn::AudioUnitEQ gain;
    tarn::MainMixerNode mixer;
    timePitch.setSource(&player);
    gain.setSource(&timePitch);
    mixer.setSource(&gain);
    timePitch.setRate(static_cast<float>(state.range(0)) / 100);
    gain.setGlobalGain(static_cast<float>(state.range(1)));
    mixer.prepare(block);
    player.play();
    Chunks chunks;
    std::vector<float> out(block);
    for (auto _ : state) {
        while (player.queuedFrames() < chunk) {
            const auto samples = chunks.next();
            auto buffer = tarn::PcmBuffer::make({.commonFormat = tarn::CommonFormat::float32,
                                                 .sampleRate = dubRate,
                                                 .channelCount = 1,
                                                 .interleaved = false,
                                                 .channelLayout = std::nullopt},
                                                chunk);
            std::ranges::copy(samples, buffer->floatChannelData());
            buffer->setFrameLength(chunk);
            player.scheduleBuffer(std::move(*buffer));
        }
        mixer.renderRt(out);
        benchmark::DoNotOptimize(out.data());
    }
}
BENCHMARK(chain)->ArgsProduct({{50, 100, 150, 200}, {0, 20}})->ArgNames({"rate%", "dB"});

void library(benchmark::State& state, const StretcherKind& kind) {
    const auto stretcher = kind.make(static_cast<double>(state.range(0)) / 100);
    Chunks chunks;
    std::vector<float> out(block);
    for (auto _ : state) {
        for (std::size_t count = 0; count < block;) {
            const auto got = stretcher->read(std::span(out).subspan(count));
            count += got;
            if (got == 0) {
                stretcher->write(chunks.next());
            }
        }
        benchmark::DoNotOptimize(out.data());
    }
}

}  // namespace

int main(int argc, char** argv) {
    for (const auto& kind : packagedStretchers()) {
        benchmark::RegisterBenchmark(kind.name.c_str(),
                                     [kind](benchmark::State& state) { library(state, kind); })
            ->ArgsProduct({{50, 100, 150, 200}})
            ->ArgNames({"rate%"});
    }
    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) {
        return 1;
    }
    benchmark::RunSpecifiedBenchmarks();
    return 0;
}
