#include "BlockClock.h"

#include <algorithm>
#include <cmath>

namespace tarn {
namespace {

// A block whose time is off by more than both of these belongs to another moment: blocks come up to a cycle
// of the graph late or early, and a cycle of 2048 frames takes 43 ms.
constexpr double leastTolerance = 0.060;  // seconds
constexpr double toleratedBlocks = 1.5;
// Jitter is averaged over so many seconds. The sound card's clock drifts against the computer's by 0.1 ms a
// second at worst, so that the average lags by 2 ms, far inside the echo filter's reach.
constexpr double averaging = 20;

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
            // At first this is the mean of all blocks, so that a first block that came early or late does not
            // keep the clock wrong for long.
            end_ += late * std::max(1 / static_cast<double>(blocks_ + 1), std::min(1.0, length / averaging));
        }
    }
    ++blocks_;
    end_ += length;
    return jump;
}

}  // namespace tarn
