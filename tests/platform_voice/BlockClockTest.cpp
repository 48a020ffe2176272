// The clock of a stream of blocks: jitter is not a jump, a gap is one, and the rate is learnt from the times.

#include "TarnPlatform/voice/BlockClock.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

constexpr double rate = 48000;
constexpr std::size_t block = 1024;
constexpr double length = static_cast<double>(block) / rate;

TEST(BlockClock, TakesTimesThatJitterByABlockForOneStream) {
    BlockClock clock(rate);
    for (int i = 0; i < 4000; ++i) {
        const double jitter = (i * 37 % 101 - 50) / 50.0 * length;
        ASSERT_EQ(clock.arrive(5 + i * length + jitter, block), 0) << i;
    }
    EXPECT_NEAR(clock.endTime(), 5 + 4000 * length, 0.004);
}

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
