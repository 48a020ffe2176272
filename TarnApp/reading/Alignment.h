#pragma once

#include <cstddef>
#include <vector>

#include "Words.h"

namespace tarn {

/// How one text fits the beginning of another, with the fewest words that differ.
struct Alignment {
    /// Words of the first text, and those of the other that stand in their place; either may be none.
    struct Difference {
        std::size_t first = 0;
        std::size_t count = 0;
        std::size_t otherFirst = 0;
        std::size_t otherCount = 0;
        bool operator==(const Difference&) const = default;
    };
    std::size_t end = 0;                  ///< where the other text goes on beyond the first
    std::vector<Difference> differences;  ///< in their order

    static Alignment of(const std::vector<Word>& first, const std::vector<Word>& other);
};

}  // namespace tarn
