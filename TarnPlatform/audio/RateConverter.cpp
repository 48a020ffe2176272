#include "RateConverter.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <numbers>
#include <numeric>

namespace tarn {
namespace {

// The filter follows Kaiser's design formulas ("Nonrecursive digital filter design using the I0-sinh window
// function", ISCAS 1974). A beta of 9.3 gives 8.7 + 9.3 / 0.1102 = 93 dB of rejection. At that rejection a
// filter of N samples needs a transition of (93 - 8) / (2.285 * 2 pi * (N - 1)) of the rate: 55 samples make
// 0.11, which is 1.75 kHz at 16 kHz, about the cutoff in its middle. The transition may reach beyond half the
// rate, because what folds back from there lands above 7.5 kHz, where speech has next to nothing. A filter
// that ended at half the rate would be nearly twice as long, and so nearly twice as late.
constexpr double lengthInSlowSamples = 55;   // length of the filter, in samples of the lower rate
constexpr double cutoff = 7640.0 / 16000.0;  // its -6 dB point, as a part of the lower rate
constexpr double kaiserBeta = 9.3;
// Rows of coefficients are padded to whole vectors, so that the inner loops have no remainder.
constexpr std::size_t lanes = 8;
constexpr std::uint64_t mostPhases = 1024;         // up to here every phase has its own row of coefficients
constexpr std::uint64_t interpolatedPhases = 512;  // beyond, rows are interpolated: error below -120 dB

// The modified Bessel function of order zero, by its power series, which converges quickly for the arguments
// up to beta that the window asks for.
double besselI0(double x) {
    double sum = 1;
    double term = 1;
    for (int k = 1; term > sum * 1e-17; ++k) {
        const double factor = x / (2.0 * k);
        term *= factor * factor;
        sum += term;
    }
    return sum;
}

// The window's and the sinc's product at `t`, both in input samples from the filter's middle.
double impulseResponse(double t, double halfLength, double cutoffPerSample) {
    const double edge = t / halfLength;
    if (std::abs(edge) >= 1) {
        return 0;
    }
    const double angle = 2 * std::numbers::pi * cutoffPerSample * t;
    const double sinc = std::abs(angle) < 1e-9 ? 1.0 : std::sin(angle) / angle;
    return sinc * besselI0(kaiserBeta * std::sqrt(1 - edge * edge));
}

/// Aligned, so that no load of coefficients straddles two cache lines.
struct alignas(lanes * sizeof(float)) Coefficients {
    float values[lanes];
};

/// Where the stream stands: the next output's window, and its place between two inputs.
struct Position {
    std::size_t start = 0;   // index of the window's oldest sample; may lie beyond the input
    std::uint64_t part = 0;  // in 1/up of an input sample
};

/// The coefficients of one ratio, and the step from one output to the next.
///
/// In principle the input is stuffed with zeros up to a multiple of both rates, filtered there, and thinned
/// out. But the zeros add nothing and the outputs that are thrown away need not be computed, so what is left
/// of the long filter for one output is every `up`-th coefficient: one row (phase) for each place that an
/// output can have between two inputs.
struct Filter {
    Filter(std::uint64_t upFactor, std::uint64_t downFactor);

    std::uint64_t up;                        // output rate over input rate, in lowest terms, is up/down
    std::size_t wholeStep;                   // input samples from one output to the next: whole part,
    std::uint64_t partStep;                  // and the rest in 1/up
    std::uint64_t phases;                    // rows of coefficients for one input sample
    bool interpolated;                       // fewer phases than the ratio has
    std::size_t taps = 0;                    // of a row; a multiple of lanes
    double delay = 0;                        // input samples
    std::vector<Coefficients> coefficients;  // row after row, the oldest sample's first

    const float* row(std::uint64_t phase) const {
        return reinterpret_cast<const float*>(coefficients.data()) + static_cast<std::size_t>(phase) * taps;
    }

    void advance(Position& position) const {
        position.start += wholeStep;
        position.part += partStep;
        if (position.part >= up) {
            position.part -= up;
            ++position.start;
        }
    }
};

Filter::Filter(std::uint64_t upFactor, std::uint64_t downFactor)
    : up(upFactor),
      wholeStep(static_cast<std::size_t>(downFactor / upFactor)),
      partStep(downFactor % upFactor),
      phases(std::min(upFactor, upFactor > mostPhases ? interpolatedPhases : upFactor)),
      interpolated(upFactor > mostPhases) {
    // The lower rate, in units of the input rate.
    const double slow = std::min(1.0, static_cast<double>(upFactor) / static_cast<double>(downFactor));
    taps = static_cast<std::size_t>(std::ceil(lengthInSlowSamples / slow));
    taps = (taps + lanes - 1) / lanes * lanes;
    const double phaseCount = static_cast<double>(phases);
    // A ratio with many phases (any odd rate against another) would need megabytes of rows, which fall out of
    // the cache. Its rows are interpolated instead, which reads the row after the last one too.
    const std::size_t rowCount = static_cast<std::size_t>(phases) + (interpolated ? 1 : 0);
    delay = (static_cast<double>(taps - 1) + (static_cast<double>(rowCount) - 1) / phaseCount) / 2;
    coefficients.resize(rowCount * taps / lanes);
    std::vector<double> exact(taps);
    for (std::size_t index = 0; index < rowCount; ++index) {
        for (std::size_t tap = 0; tap < taps; ++tap) {
            const double age = static_cast<double>(taps - 1 - tap) + static_cast<double>(index) / phaseCount;
            exact[tap] = impulseResponse(age - delay, delay + 0.5, cutoff * slow);
        }
        // Every row passes a constant unchanged, so no phase is louder than another.
        const double gain = 1 / std::accumulate(exact.begin(), exact.end(), 0.0);
        for (std::size_t tap = 0; tap < taps; ++tap) {
            coefficients[(index * taps + tap) / lanes].values[tap % lanes] =
                static_cast<float>(exact[tap] * gain);
        }
    }
}

using Quad [[gnu::vector_size(4 * sizeof(float)), gnu::aligned(alignof(float)), gnu::may_alias]] = float;
using Octet [[gnu::vector_size(8 * sizeof(float)), gnu::aligned(alignof(float)), gnu::may_alias]] = float;

/// How many floats the processor multiplies and adds at once: four with what every 64-bit x86 has and with
/// NEON, eight with AVX2.
struct Narrow {
    using Vector = Quad;
    static constexpr std::size_t width = 4;
};
struct Wide {
    using Vector = Octet;
    static constexpr std::size_t width = 8;
};

template <typename Width>
[[gnu::always_inline]] inline const typename Width::Vector& load(const float* from) {
    return *reinterpret_cast<const typename Width::Vector*>(from);
}

[[gnu::always_inline]] inline Quad foldToQuad(const Quad& v) {
    return v;
}

[[gnu::always_inline]] inline Quad foldToQuad(const Octet& v) {
    return __builtin_shufflevector(v, v, 0, 1, 2, 3) + __builtin_shufflevector(v, v, 4, 5, 6, 7);
}

/// One output: a row of coefficients and the input that it is laid over.
struct Window {
    const float* row;
    const float* x;
};

template <typename Width>
[[gnu::always_inline]] inline float oneOutput(const Window& window, std::size_t taps) {
    typename Width::Vector sum{};
    for (std::size_t i = 0; i < taps; i += Width::width) {
        sum += load<Width>(window.row + i) * load<Width>(window.x + i);
    }
    const Quad quad = foldToQuad(sum);
    return (quad[0] + quad[1]) + (quad[2] + quad[3]);
}

// A single sum would wait for the latency of every addition before it can start the next. Four outputs side
// by side hide that latency, and where they share a row its coefficients are loaded once.
template <typename Width, bool sharedRow>
[[gnu::always_inline]] inline void fourOutputs(const Window (&windows)[4], std::size_t taps, float* out) {
    typename Width::Vector a{};
    typename Width::Vector b{};
    typename Width::Vector c{};
    typename Width::Vector d{};
    for (std::size_t i = 0; i < taps; i += Width::width) {
        a += load<Width>(windows[0].row + i) * load<Width>(windows[0].x + i);
        b += load<Width>(windows[sharedRow ? 0 : 1].row + i) * load<Width>(windows[1].x + i);
        c += load<Width>(windows[sharedRow ? 0 : 2].row + i) * load<Width>(windows[2].x + i);
        d += load<Width>(windows[sharedRow ? 0 : 3].row + i) * load<Width>(windows[3].x + i);
    }
    // The four sums at once: pairs of lanes are added across two of them, then across all.
    const Quad qa = foldToQuad(a);
    const Quad qb = foldToQuad(b);
    const Quad qc = foldToQuad(c);
    const Quad qd = foldToQuad(d);
    const Quad ab = __builtin_shufflevector(qa, qb, 0, 4, 1, 5) + __builtin_shufflevector(qa, qb, 2, 6, 3, 7);
    const Quad cd = __builtin_shufflevector(qc, qd, 0, 4, 1, 5) + __builtin_shufflevector(qc, qd, 2, 6, 3, 7);
    *reinterpret_cast<Quad*>(out) =
        __builtin_shufflevector(ab, cd, 0, 1, 4, 5) + __builtin_shufflevector(ab, cd, 2, 3, 6, 7);
}

// Writes what the input allows and returns how many that are.
template <typename Width>
[[gnu::always_inline]] inline std::size_t runBody(const Filter& filter, std::span<const float> input,
                                                  Position& position, std::span<float> out) {
    const auto taps = filter.taps;
    const float* const x = input.data();
    const auto ready = [&](std::size_t start) { return start + taps <= input.size(); };
    std::size_t count = 0;
    if (!filter.interpolated) {
        // The fourth output lies at most three whole steps and one carry for each of them after the first.
        const auto reach = 3 * (filter.wholeStep + 1);
        while (count + 4 <= out.size() && ready(position.start + reach)) {
            Window windows[4];
            for (auto& window : windows) {
                window = {filter.row(position.part), x + position.start};
                filter.advance(position);
            }
            if (filter.up == 1) {
                fourOutputs<Width, true>(windows, taps, &out[count]);
            } else {
                fourOutputs<Width, false>(windows, taps, &out[count]);
            }
            count += 4;
        }
    }
    for (; count < out.size() && ready(position.start); ++count) {
        if (filter.interpolated) {
            const double place = static_cast<double>(position.part) * static_cast<double>(filter.phases) /
                                 static_cast<double>(filter.up);
            const auto index = static_cast<std::uint64_t>(place);
            const float before = oneOutput<Width>({filter.row(index), x + position.start}, taps);
            const float after = oneOutput<Width>({filter.row(index + 1), x + position.start}, taps);
            out[count] = before + static_cast<float>(place - static_cast<double>(index)) * (after - before);
        } else {
            out[count] = oneOutput<Width>({filter.row(position.part), x + position.start}, taps);
        }
        filter.advance(position);
    }
    return count;
}

using Run = std::size_t (*)(const Filter&, std::span<const float>, Position&, std::span<float>);

std::size_t runPlain(const Filter& filter, std::span<const float> input, Position& position,
                     std::span<float> out) {
    return runBody<Narrow>(filter, input, position, out);
}

#if defined(__x86_64__)
[[gnu::target("avx2,fma")]] std::size_t runAvx2(const Filter& filter, std::span<const float> input,
                                                Position& position, std::span<float> out) {
    return runBody<Wide>(filter, input, position, out);
}
#endif

// The choice is made when the program runs: packages are built for every 64-bit x86, which need not have
// AVX2.
Run bestRun() {
#if defined(__x86_64__)
    if (__builtin_cpu_supports("avx2") && __builtin_cpu_supports("fma")) {
        return runAvx2;
    }
#endif
    return runPlain;
}

}  // namespace

struct RateConverter::State {
    State(std::uint64_t up, std::uint64_t down) : filter(up, down), run(bestRun()) {}

    Filter filter;
    Run run;
    Position position;
};

RateConverter::RateConverter() = default;
RateConverter::RateConverter(RateConverter&&) noexcept = default;
RateConverter& RateConverter::operator=(RateConverter&&) noexcept = default;
RateConverter::~RateConverter() = default;

std::optional<RateConverter> RateConverter::make(double inputRate, double outputRate) {
    const auto usable = [](double rate) { return rate >= lowestRate && rate <= highestRate; };
    if (!usable(inputRate) || !usable(outputRate)) {
        return std::nullopt;
    }
    const auto in = static_cast<std::uint64_t>(std::llround(inputRate * 1000));
    const auto out = static_cast<std::uint64_t>(std::llround(outputRate * 1000));
    RateConverter converter;
    if (in != out) {
        const auto common = std::gcd(in, out);
        converter.state_ = std::make_unique<State>(out / common, in / common);
        const auto& filter = converter.state_->filter;
        converter.delay_ = filter.delay / inputRate;
        // Silence before the first sample lets the first output come with the first input.
        converter.input_.assign(filter.taps - 1, 0.0F);
    }
    return converter;
}

// A window must be contiguous in memory, so the input is a plain vector and not a ring. What is moved to its
// front is no longer than the filter.
void RateConverter::write(std::span<const float> samples) {
    auto& start = state_ ? state_->position.start : copied_;
    const auto consumed = std::min(start, input_.size());
    input_.erase(input_.begin(), input_.begin() + static_cast<std::ptrdiff_t>(consumed));
    start -= consumed;
    input_.insert(input_.end(), samples.begin(), samples.end());
}

std::size_t RateConverter::read(std::span<float> samples) {
    if (state_) {
        return state_->run(state_->filter, input_, state_->position, samples);
    }
    const auto count = std::min(samples.size(), input_.size() - copied_);
    std::copy_n(input_.begin() + static_cast<std::ptrdiff_t>(copied_), count, samples.begin());
    copied_ += count;
    return count;
}

}  // namespace tarn
