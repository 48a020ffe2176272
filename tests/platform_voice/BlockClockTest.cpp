// The clock of a stream of blocks: a gap is a jump, and the rate is learnt from the times.

#include "TarnPlatform/voice/BlockClock.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

constexpr double rate = 48000;
constexpr std::size_t block = 1024;
constexpr double length = static_cast<double>(block) / rate;

TEST(BlockClock, FollowsAClockThatRunsAtItsOwnRate) {
    BlockClock clock(rate);
    constexpr double slower = 1.0002;
    double time = 0;
    for (int i = 0; i < 20000; ++i, time += length * slower) {
        ASSERT_EQ(clock.arrive(time, block), 0) << i;
    }
    EXPECT_NEAR(clock.endTime(), time, 0.005);
}

TEST(BlockClock, TellsHowFarAStreamJumped) {
    for (const double jump : {0.4, 30.0, -0.4}) {
        BlockClock clock(rate);
        clock.arrive(100, block);
        EXPECT_DOUBLE_EQ(clock.arrive(100 + length, block), 0);
        EXPECT_NEAR(clock.arrive(100 + 2 * length + jump, block), jump, 1e-9);
        EXPECT_NEAR(clock.endTime(), 100 + 3 * length + jump, 1e-9);
    }
}

}  // namespace
}  // namespace tarn
