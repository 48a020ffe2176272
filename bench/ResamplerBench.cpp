// The rate converter beside the packaged libraries: what each costs, how late it is, and what it lets
// through.
//
// One line per candidate and pair of rates:
//   us/10ms, us/20ms   median processor time for one block of mono float samples
//   delay              milliseconds from a sample's arrival to its place in the output, blocks of 10 ms
//   flat to 7k         largest deviation from the level at 1 kHz, tones from 100 Hz to 7 kHz, dB
//   alias              loudest remnant of tones from 8.5 kHz to 0.48 of the input rate, dB
//   SNR                tone at 997 Hz, -1 dB, against everything else in the output, dB
// Then what a captured buffer costs on its whole way to the service's bytes.
// "yes" in the last column: flat within 0.1 dB, remnants below -90 dB, and later than 10 ms at no time.

#include <samplerate.h>
#include <soxr.h>
#include <speex/speex_resampler.h>
#include <time.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <memory>
#include <numbers>
#include <span>
#include <string>
#include <utility>
#include <vector>

extern "C" {
#include <libavutil/channel_layout.h>
#include <libavutil/opt.h>
#include <libavutil/samplefmt.h>
#include <libswresample/swresample.h>
}

#include "TarnCore/audio/AudioResampler.h"
#include "TarnPlatform/audio/RateConverter.h"

namespace {

constexpr double outputRate = 16000;
constexpr std::size_t mostOutput = 1 << 16;

/// A converter at work: samples in, samples out. The span lives until the next call.
using Convert = std::function<std::span<const float>(std::span<const float>)>;

struct Candidate {
    std::string name;
    std::function<Convert(double inputRate)> make;
};

Candidate ours() {
    return {"ours", [](double inputRate) -> Convert {
                auto converter =
                    std::make_shared<tarn::RateConverter>(*tarn::RateConverter::make(inputRate, outputRate));
                auto out = std::make_shared<std::vector<float>>(mostOutput);
                return [converter, out](std::span<const float> in) {
                    converter->write(in);
                    return std::span<const float>(out->data(), converter->read(*out));
                };
            }};
}

Candidate speexdsp(int quality) {
    return {"speexdsp q" + std::to_string(quality), [quality](double inputRate) -> Convert {
                int error = 0;
                std::shared_ptr<SpeexResamplerState> state(
                    speex_resampler_init(1, static_cast<unsigned>(inputRate),
                                         static_cast<unsigned>(outputRate), quality, &error),
                    speex_resampler_destroy);
                auto out = std::make_shared<std::vector<float>>(mostOutput);
                return [state, out](std::span<const float> in) {
                    auto taken = static_cast<spx_uint32_t>(in.size());
                    auto given = static_cast<spx_uint32_t>(out->size());
                    speex_resampler_process_float(state.get(), 0, in.data(), &taken, out->data(), &given);
                    return std::span<const float>(out->data(), given);
                };
            }};
}

Candidate soxrCandidate(std::string name, soxr_quality_spec_t quality, unsigned log2Block) {
    return {std::move(name), [quality, log2Block](double inputRate) -> Convert {
                const auto io = soxr_io_spec(SOXR_FLOAT32_I, SOXR_FLOAT32_I);
                auto runtime = soxr_runtime_spec(1);
                runtime.log2_min_dft_size = log2Block;
                runtime.log2_large_dft_size = log2Block;
                std::shared_ptr<struct ::soxr> state(
                    soxr_create(inputRate, outputRate, 1, nullptr, &io, &quality, &runtime), soxr_delete);
                auto out = std::make_shared<std::vector<float>>(mostOutput);
                return [state, out](std::span<const float> in) {
                    std::size_t given = 0;
                    soxr_process(state.get(), in.data(), in.size(), nullptr, out->data(), out->size(),
                                 &given);
                    return std::span<const float>(out->data(), given);
                };
            }};
}

// 96 dB and the same band as asked: what this library does at the asked quality and no more.
soxr_quality_spec_t soxrAsAsked() {
    auto quality = soxr_quality_spec(SOXR_16_BITQ, 0);
    quality.passband_end = 7.0 / 8.0;
    quality.stopband_begin = 8.5 / 8.0;
    return quality;
}

Candidate libsamplerate(std::string name, int kind) {
    return {std::move(name), [kind](double inputRate) -> Convert {
                int error = 0;
                std::shared_ptr<SRC_STATE> state(src_new(kind, 1, &error), src_delete);
                auto out = std::make_shared<std::vector<float>>(mostOutput);
                return [state, out, inputRate](std::span<const float> in) {
                    SRC_DATA data{};
                    data.data_in = in.data();
                    data.input_frames = static_cast<long>(in.size());
                    data.data_out = out->data();
                    data.output_frames = static_cast<long>(out->size());
                    data.src_ratio = outputRate / inputRate;
                    src_process(state.get(), &data);
                    return std::span<const float>(out->data(),
                                                  static_cast<std::size_t>(data.output_frames_gen));
                };
            }};
}

// A filter size of 0 leaves the library's defaults.
Candidate swresample(std::string name, int filterSize, double cutoff, double beta) {
    return {std::move(name), [=](double inputRate) -> Convert {
                AVChannelLayout mono = AV_CHANNEL_LAYOUT_MONO;
                SwrContext* raw = nullptr;
                swr_alloc_set_opts2(&raw, &mono, AV_SAMPLE_FMT_FLT, static_cast<int>(outputRate), &mono,
                                    AV_SAMPLE_FMT_FLT, static_cast<int>(inputRate), 0, nullptr);
                if (filterSize > 0) {
                    av_opt_set_int(raw, "filter_size", filterSize, 0);
                    av_opt_set_double(raw, "cutoff", cutoff, 0);
                    av_opt_set_double(raw, "kaiser_beta", beta, 0);
                }
                swr_init(raw);
                std::shared_ptr<SwrContext> state(raw, [](SwrContext* context) { swr_free(&context); });
                auto out = std::make_shared<std::vector<float>>(mostOutput);
                return [state, out](std::span<const float> in) {
                    const auto* from = reinterpret_cast<const std::uint8_t*>(in.data());
                    auto* to = reinterpret_cast<std::uint8_t*>(out->data());
                    const int given = swr_convert(state.get(), &to, static_cast<int>(out->size()), &from,
                                                  static_cast<int>(in.size()));
                    return std::span<const float>(out->data(), static_cast<std::size_t>(std::max(given, 0)));
                };
            }};
}

std::vector<float> tone(double frequency, double rate, double seconds, double amplitude) {
    std::vector<float> samples(static_cast<std::size_t>(rate * seconds));
    for (std::size_t i = 0; i < samples.size(); ++i) {
        samples[i] = static_cast<float>(
            amplitude * std::sin(2 * std::numbers::pi * frequency * static_cast<double>(i) / rate));
    }
    return samples;
}

std::vector<float> run(const Convert& convert, std::span<const float> input, double inputRate) {
    const auto block = static_cast<std::size_t>(inputRate / 100);
    std::vector<float> output;
    for (std::size_t at = 0; at < input.size(); at += block) {
        const auto part = convert(input.subspan(at, std::min(block, input.size() - at)));
        output.insert(output.end(), part.begin(), part.end());
    }
    return output;
}

struct Fit {
    double amplitude;
    double rest;  // RMS of what is not the tone
};

// Least squares of a sine and a cosine on the middle of the output, away from both ends.
Fit fit(std::span<const float> samples, double frequency) {
    const auto middle = samples.subspan(samples.size() / 4, samples.size() / 2);
    const double step = 2 * std::numbers::pi * frequency / outputRate;
    double ss = 0;
    double cc = 0;
    double sc = 0;
    double xs = 0;
    double xc = 0;
    for (std::size_t i = 0; i < middle.size(); ++i) {
        const double s = std::sin(step * static_cast<double>(i));
        const double c = std::cos(step * static_cast<double>(i));
        const double x = middle[i];
        ss += s * s;
        cc += c * c;
        sc += s * c;
        xs += x * s;
        xc += x * c;
    }
    const double determinant = ss * cc - sc * sc;
    const double a = (xs * cc - xc * sc) / determinant;
    const double b = (xc * ss - xs * sc) / determinant;
    double rest = 0;
    for (std::size_t i = 0; i < middle.size(); ++i) {
        const double error = middle[i] - a * std::sin(step * static_cast<double>(i)) -
                             b * std::cos(step * static_cast<double>(i));
        rest += error * error;
    }
    return {std::hypot(a, b), std::sqrt(rest / static_cast<double>(middle.size()))};
}

double decibels(double ratio) {
    return 20 * std::log10(std::max(ratio, 1e-12));
}

double flatness(const Candidate& candidate, double inputRate) {
    const auto level = [&](double frequency) {
        return decibels(
            fit(run(candidate.make(inputRate), tone(frequency, inputRate, 0.5, 0.5), inputRate), frequency)
                .amplitude);
    };
    const double reference = level(1000);
    double worst = 0;
    for (int frequency = 100; frequency <= 7000; frequency += 300) {
        worst = std::max(worst, std::abs(level(frequency) - reference));
    }
    return worst;
}

double alias(const Candidate& candidate, double inputRate) {
    double worst = -300;
    for (int frequency = 8500; frequency < inputRate * 0.48; frequency += 137) {
        const auto output = run(candidate.make(inputRate), tone(frequency, inputRate, 0.5, 1.0), inputRate);
        double power = 0;
        const auto middle = std::span(output).subspan(output.size() / 4, output.size() / 2);
        for (const float x : middle) {
            power += static_cast<double>(x) * static_cast<double>(x);
        }
        worst = std::max(worst, decibels(std::sqrt(2 * power / static_cast<double>(middle.size()))));
    }
    return worst;
}

// How far the output lags behind the input while blocks of 10 ms arrive: samples held back, and the shift of
// a click, which together are what a listener waits.
double delayMs(const Candidate& candidate, double inputRate) {
    const auto block = static_cast<std::size_t>(inputRate / 100);
    const std::size_t clickAt = 30 * block;
    std::vector<float> input(100 * block);
    // A click wide enough for the lower rate: its middle is clickAt.
    const auto width = static_cast<int>(inputRate / 4000);
    for (int i = -width; i <= width; ++i) {
        input[clickAt + static_cast<std::size_t>(i + width) - static_cast<std::size_t>(width)] =
            static_cast<float>(0.5 + 0.5 * std::cos(std::numbers::pi * i / width));
    }
    const auto convert = candidate.make(inputRate);
    std::vector<float> output;
    double heldBack = 0;
    for (std::size_t at = 0; at < input.size(); at += block) {
        const auto part = convert(std::span(input).subspan(at, block));
        output.insert(output.end(), part.begin(), part.end());
        if (at > input.size() / 2) {
            heldBack = std::max(heldBack, static_cast<double>(at + block) / inputRate -
                                              static_cast<double>(output.size()) / outputRate);
        }
    }
    double weight = 0;
    double moment = 0;
    for (std::size_t i = 0; i < output.size(); ++i) {
        const double energy = static_cast<double>(output[i]) * static_cast<double>(output[i]);
        weight += energy;
        moment += energy * static_cast<double>(i);
    }
    const double shift = moment / weight / outputRate - static_cast<double>(clickAt) / inputRate;
    return 1000 * (heldBack + shift);
}

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

// Median over groups of calls, in microseconds per call.
double microsecondsPerCall(const std::function<void()>& call) {
    constexpr int groups = 41;
    constexpr int perGroup = 200;
    std::vector<double> times;
    for (int group = 0; group < groups; ++group) {
        const double begin = processorSeconds();
        for (int i = 0; i < perGroup; ++i) {
            call();
        }
        times.push_back((processorSeconds() - begin) / perGroup * 1e6);
    }
    std::ranges::nth_element(times, times.begin() + groups / 2);
    return times[groups / 2];
}

double microsecondsPerBlock(const Candidate& candidate, double inputRate, double blockSeconds) {
    const auto input = tone(440, inputRate, blockSeconds, 0.5);
    const auto convert = candidate.make(inputRate);
    return microsecondsPerCall([&] { convert(input); });
}

void reportWholeWay(tarn::CommonFormat type, double inputRate, std::uint32_t channels) {
    const tarn::AudioFormat format{type, inputRate, channels, true, std::nullopt};
    const auto frames = static_cast<std::uint32_t>(inputRate / 100);
    auto buffer = tarn::PcmBuffer::make(format, frames).value();
    buffer.setFrameLength(frames);
    tarn::AudioResampler resampler;
    const double cost = microsecondsPerCall([&] { resampler.process(buffer); });
    std::printf("%-40s %6.2f us per 10 ms\n", format.description().c_str(), cost);
}

void report(const Candidate& candidate, double inputRate) {
    const double cost10 = microsecondsPerBlock(candidate, inputRate, 0.010);
    const double cost20 = microsecondsPerBlock(candidate, inputRate, 0.020);
    const double delay = delayMs(candidate, inputRate);
    const double flat = flatness(candidate, inputRate);
    const double remnant = alias(candidate, inputRate);
    const auto clean = fit(run(candidate.make(inputRate), tone(997, inputRate, 1.0, 0.89), inputRate), 997);
    const double snr = decibels(clean.amplitude / std::numbers::sqrt2 / clean.rest);
    const bool meets = flat <= 0.1 && remnant <= -90 && delay < 10;
    std::printf("%-28s %6.1f %9.2f %9.2f %8.2f %11.3f %8.1f %7.1f  %s\n", candidate.name.c_str(),
                inputRate / 1000, cost10, cost20, delay, flat, remnant, snr, meets ? "yes" : "no");
    std::fflush(stdout);
}

}  // namespace

int main() {
    std::vector<Candidate> candidates{ours()};
    for (const int quality : {3, 4, 5, 6, 7, 8, 10}) {
        candidates.push_back(speexdsp(quality));
    }
    candidates.push_back(soxrCandidate("soxr LQ", soxr_quality_spec(SOXR_LQ, 0), 10));
    candidates.push_back(soxrCandidate("soxr MQ", soxr_quality_spec(SOXR_MQ, 0), 10));
    candidates.push_back(soxrCandidate("soxr HQ", soxr_quality_spec(SOXR_HQ, 0), 10));
    candidates.push_back(soxrCandidate("soxr as asked", soxrAsAsked(), 10));
    candidates.push_back(soxrCandidate("soxr as asked, short blocks", soxrAsAsked(), 8));
    candidates.push_back(libsamplerate("libsamplerate fastest", SRC_SINC_FASTEST));
    candidates.push_back(libsamplerate("libsamplerate medium", SRC_SINC_MEDIUM_QUALITY));
    candidates.push_back(libsamplerate("libsamplerate best", SRC_SINC_BEST_QUALITY));
    candidates.push_back(swresample("swresample default", 0, 0, 0));
    candidates.push_back(swresample("swresample 56/0.955/9", 56, 0.955, 9));
    candidates.push_back(swresample("swresample 64/0.955/10", 64, 0.955, 10));
    std::printf("%-28s %6s %9s %9s %8s %11s %8s %7s  %s\n", "to 16 kHz", "kHz", "us/10ms", "us/20ms", "delay",
                "flat to 7k", "alias", "SNR", "meets");
    for (const double inputRate : {48000.0, 44100.0, 96000.0}) {
        for (const auto& candidate : candidates) {
            report(candidate, inputRate);
        }
        std::printf("\n");
    }
    for (const double inputRate : {16000.0, 44100.0, 48000.0, 96000.0}) {
        for (const auto type : {tarn::CommonFormat::float32, tarn::CommonFormat::int16}) {
            for (const std::uint32_t channels : {1U, 2U}) {
                reportWholeWay(type, inputRate, channels);
            }
        }
    }
}
