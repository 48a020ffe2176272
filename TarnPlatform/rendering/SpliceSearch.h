#pragma once

#include <cstddef>
#include <optional>
#include <span>

namespace tarn {

/// Finds a place where speech goes on as it would have gone on here: one period of the voice away, or
/// several.
///
/// Compares a window of sound with windows at every distance that a voice's period can have (65 to 400 Hz at
/// 24 kHz) and takes the most alike by normalised cross-correlation, first on every fourth sample and then
/// around the best on all. This is the search of WSOLA (Verhelst and Roelands, ICASSP 1993) over the
/// distances of pitch-synchronous methods such as PICOLA (Morita and Itakura, 1986).
///
/// No state, no allocation: for the audio thread.
struct SpliceSearch {
    static constexpr std::size_t shortest = 60;  ///< frames, of a distance
    static constexpr std::size_t longest = 368;  ///< frames, of a distance
    static constexpr std::size_t window = 288;   ///< frames that are compared

    struct Splice {
        std::size_t distance = 0;  ///< frames
        float likeness = 0;        ///< -1 to 1
    };

    /// The place after the beginning of `sound` that is most like it. Nothing if `sound` is too short for
    /// any: `shortest + window` at least, `longest + window` for all.
    static std::optional<Splice> aheadRt(std::span<const float> sound) noexcept;

    /// The same, backwards: `at` is the place in `sound` to compare with those before it.
    static std::optional<Splice> behindRt(std::span<const float> sound, std::size_t at) noexcept;
};

}  // namespace tarn
