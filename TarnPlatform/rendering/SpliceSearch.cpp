#include "SpliceSearch.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace tarn {
namespace {

constexpr std::size_t coarse = 4;  // samples that the first search takes as one
constexpr std::size_t lanes = 8;
// A longer distance must be that much more alike than the shortest to be taken: of the multiples of a period,
// the first.
constexpr float longPenalty = 0.05F;
constexpr float silent = 1e-9F;  // energy of a window, -120 dB

static_assert(SpliceSearch::shortest % coarse == 0 && SpliceSearch::longest % coarse == 0 &&
              SpliceSearch::window % (coarse * lanes) == 0);

/// Several sums at once, which the compiler may keep in one register.
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

/// Likeness of the windows of `length` at `here` and at `direction` times every distance in `from` to `to`.
template <std::size_t length>
SpliceSearch::Splice best(const float* here, std::ptrdiff_t direction, std::size_t from, std::size_t to) {
    const float energyHere = dot<length>(here, here);
    SpliceSearch::Splice found{.distance = from, .likeness = 0};  // also where no sample is a number
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
