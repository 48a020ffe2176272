#include "Alignment.h"

#include <algorithm>
#include <cstdint>
#include <numeric>

namespace tarn {
namespace {

// Beyond that many words each word counts as standing in the place of its like.
constexpr std::size_t most = 400;

/// The fewest differences between beginnings of two texts, for each length of both.
class Costs {
public:
    Costs(const std::vector<Word>& first, const std::vector<Word>& other, std::size_t same)
        : first_(first),
          other_(other),
          same_(same),
          rows_(first.size() - same),
          columns_(std::min(other.size() - same, 2 * rows_ + 2)),
          costs_((rows_ + 1) * (columns_ + 1)) {
        std::iota(costs_.begin(), costs_.begin() + static_cast<std::ptrdiff_t>(columns_ + 1), 0);
        for (std::size_t row = 1; row <= rows_; ++row) {
            at(row, 0) = static_cast<std::uint16_t>(row);
            for (std::size_t column = 1; column <= columns_; ++column) {
                at(row, column) = static_cast<std::uint16_t>(
                    std::min({at(row - 1, column) + 1, at(row, column - 1) + 1, replaced(row, column)}));
            }
        }
    }

    /// The cheapest end; of several the first after the same word, or else the first, so that no word of the
    /// other text is taken for one that it does not replace.
    std::size_t end() const {
        std::size_t best = 0;
        const auto isAfterSame = [this](std::size_t column) { return column > 0 && isSame(rows_, column); };
        for (std::size_t column = 1; column <= columns_; ++column) {
            const auto cost = at(rows_, column);
            if (cost < at(rows_, best) ||
                (cost == at(rows_, best) && isAfterSame(column) && !isAfterSame(best))) {
                best = column;
            }
        }
        return best;
    }

    std::vector<Alignment::Difference> differencesTo(std::size_t column) const {
        std::vector<Alignment::Difference> found;  // from the last to the first
        std::size_t row = rows_;
        const auto note = [&](std::size_t count, std::size_t otherCount) {
            row -= count;
            column -= otherCount;
            if (found.empty() || found.back().first != same_ + row + count ||
                found.back().otherFirst != same_ + column + otherCount) {
                found.push_back({0, 0, 0, 0});
            }
            auto& last = found.back();
            last = {same_ + row, last.count + count, same_ + column, last.otherCount + otherCount};
        };
        while (row > 0 || column > 0) {
            if (row > 0 && column > 0 && at(row, column) == replaced(row, column)) {
                if (isSame(row, column)) {
                    --row;
                    --column;
                } else {
                    note(1, 1);
                }
            } else if (row > 0 && at(row, column) == at(row - 1, column) + 1) {
                note(1, 0);
            } else {
                note(0, 1);
            }
        }
        std::ranges::reverse(found);
        return found;
    }

private:
    bool isSame(std::size_t row, std::size_t column) const {
        return first_[same_ + row - 1].key == other_[same_ + column - 1].key;
    }
    int replaced(std::size_t row, std::size_t column) const {
        return at(row - 1, column - 1) + (isSame(row, column) ? 0 : 1);
    }
    std::uint16_t& at(std::size_t row, std::size_t column) { return costs_[row * (columns_ + 1) + column]; }
    std::uint16_t at(std::size_t row, std::size_t column) const {
        return costs_[row * (columns_ + 1) + column];
    }

    const std::vector<Word>& first_;
    const std::vector<Word>& other_;
    const std::size_t same_;
    const std::size_t rows_;
    const std::size_t columns_;
    std::vector<std::uint16_t> costs_;
};

}  // namespace

Alignment Alignment::of(const std::vector<Word>& first, const std::vector<Word>& other) {
    const std::size_t same = commonWords(first, other);
    if (same == first.size()) {
        return {same, {}};
    }
    if (first.size() - same > most) {
        return {std::min(first.size(), other.size()), {}};
    }
    const Costs costs(first, other, same);
    const std::size_t end = costs.end();
    return {same + end, costs.differencesTo(end)};
}

}  // namespace tarn
