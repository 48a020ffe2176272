#include "SpliceSearch.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarn {
namespace {

// The first search takes four samples as one, which makes it sixteen times cheaper: a quarter of the
// distances with a quarter of the samples each. At 6 kHz the pitch, which decides, is all there still.
constexpr std::size_t coarse = 4;
constexpr std::size_t lanes = 8;
// A voice is as much like itself two periods on as one. The longest distance must be this much more alike
// than the shortest to be taken, so that of the multiples of a period the first wins: short splices are heard
// less.
constexpr float longPenalty = 0.05F;
// A window of so little energy (-120 dB) has no likeness: division would turn rounding errors into one.
constexpr float silent = 1e-9F;

static_assert(SpliceSearch::shortest % coarse == 0 && SpliceSearch::longest % coarse == 0 &&
              SpliceSearch::window % (coarse * lanes) == 0);

/// The products are added in several sums, since the compiler may not split one sum, whose rounding would
/// change, but may keep several in one register.
template <std::size_t length>
float dot(const float* a, const float* b) {
    std::array<float, lanes> sums{};
    for (std::size_t i = 0; i < length; i += lanes) {
        for (std::size_t lane = 0; lane < lanes; ++lane) {
            sums[lane] += a[i + lane] * b[i + lane];
        }
    }
    float sum = 0;
    for (const float part : sums) {
        sum += part;
    }
    return sum;
}

/// The best of the distances `from` to `to`, by the likeness of the windows of `length` at `here` and at
/// `direction` times the distance. It is normalised by the energy of both windows: without that the loudest
/// window would win, and a splice would jump from soft sound into loud.
template <std::size_t length>
SpliceSearch::Splice best(const float* here, std::ptrdiff_t direction, std::size_t from, std::size_t to) {
    const float energyHere = dot<length>(here, here);
    SpliceSearch::Splice found{.distance = from, .likeness = 0};  // stays where all samples are NaN
    float bestScore = -2;
    for (std::size_t distance = from; distance <= to; ++distance) {
        const float* const there = here + direction * static_cast<std::ptrdiff_t>(distance);
        const float energy = energyHere * dot<length>(there, there);
        const float likeness = energy > silent * silent ? dot<length>(here, there) / std::sqrt(energy) : 0;
        const float score = likeness - longPenalty * static_cast<float>(distance) / static_cast<float>(to);
        if (score > bestScore) {
            bestScore = score;
            found = {.distance = distance, .likeness = likeness};
        }
    }
    return found;
}

/// Requires: `longestHere` whole windows' distance of sound in `direction` from `here`.
SpliceSearch::Splice searchRt(const float* here, std::ptrdiff_t direction, std::size_t longestHere) {
    constexpr std::size_t mostCoarse = (SpliceSearch::longest + SpliceSearch::window) / coarse;
    constexpr std::size_t coarseWindow = SpliceSearch::window / coarse;
    // The sum of four is the simplest low-pass there is; what folds back is weak in speech, and the second
    // search, on all samples around the best, corrects what it misleads.
    std::array<float, mostCoarse> thinned;
    const std::size_t reach = longestHere / coarse;
    const float* const first = direction > 0 ? here : here - reach * coarse;
    for (std::size_t i = 0; i < reach + coarseWindow; ++i) {
        const float* const group = first + i * coarse;
        thinned[i] = group[0] + group[1] + group[2] + group[3];
    }
    const float* const middle = direction > 0 ? thinned.data() : thinned.data() + reach;
    const auto rough = best<coarseWindow>(middle, direction, SpliceSearch::shortest / coarse, reach);
    const auto centre = rough.distance * coarse;
    return best<SpliceSearch::window>(here, direction, std::max(centre - coarse, SpliceSearch::shortest),
                                      std::min(centre + coarse, reach * coarse));
}

}  // namespace

std::optional<SpliceSearch::Splice> SpliceSearch::aheadRt(std::span<const float> sound) noexcept {
    if (sound.size() < shortest + window) {
        return std::nullopt;
    }
    return searchRt(sound.data(), 1, std::min(longest, sound.size() - window));
}

std::optional<SpliceSearch::Splice> SpliceSearch::behindRt(std::span<const float> sound,
                                                           std::size_t at) noexcept {
    if (at < shortest || sound.size() < at + window) {
        return std::nullopt;
    }
    return searchRt(sound.data() + at, -1, std::min(longest, at));
}

}  // namespace tarn
