#include "BlockClock.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

constexpr double leastTolerance = 0.060;  // seconds: later is a jump
constexpr double toleratedBlocks = 1.5;
constexpr double averaging = 20;  // seconds over which jitter is averaged

}  // namespace

double BlockClock::arrive(double time, std::size_t samples) {
    const double length = static_cast<double>(samples) / rate_;
    longestBlock_ = std::max(longestBlock_, length);
    double jump = 0;
    if (blocks_ == 0) {
        end_ = time;
    } else {
        const double late = time - end_;
        if (std::abs(late) > std::max(leastTolerance, toleratedBlocks * longestBlock_)) {
            jump = late;
            end_ = time;
        } else {
            // At first the mean of all blocks, so that one early or late block does not stay wrong for long.
            end_ += late * std::max(1 / static_cast<double>(blocks_ + 1), std::min(1.0, length / averaging));
        }
    }
    ++blocks_;
    end_ += length;
    return jump;
}

}  // namespace tarn
