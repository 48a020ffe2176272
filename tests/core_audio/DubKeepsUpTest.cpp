// The dub that keeps up: its pace by itself.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>

#include "TarnCore/audio/DubPace.h"

namespace tarn::test {
namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();
constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(DubPace, FollowsWhatWaitsOverARamp) {
    struct Step {
        double waiting, seconds, factor;
    };
    struct Case {
        const char* what;
        std::vector<Step> steps;
    };
    const std::vector<Case> cases{
        {"nothing up to the mark", {{0, 9, 1}, {1.99, 9, 1}, {2, 99, 1}}},
        {"above it as far as need be", {{2.5, 9, 1.15}, {3, 9, 1.2}, {4, 9, 1.3}, {900, 9, 1.3}}},
        {"on the way back longer", {{4, 9, 1.3}, {2, 9, 1.1}, {1.5, 9, 1.05}, {1, 9, 1}, {1.9, 9, 1}}},
        {"a ramp both ways", {{60, 1, 1.1}, {60, 1, 1.2}, {60, 1, 1.3}, {0, 1, 1.2}, {60, 0.5, 1.25}}},
        {"a lag that jumps", {{60, 0.02, 1.002}, {0, 0.02, 1}, {60, 0.02, 1.002}, {0.5, 0.02, 1}}},
        {"what is no number", {{nan, 9, 1}, {4, 9, 1.3}, {nan, 9, 1.3}, {4, nan, 1.3}, {0, -1, 1.3}}},
        {"what cannot be", {{infinity, infinity, 1.3}, {-5, 1, 1.2}, {-infinity, 9, 1}}},
    };
    for (const Case& c : cases) {
        DubPace pace;
        for (const auto& [waiting, seconds, factor] : c.steps) {
            EXPECT_NEAR(pace.stepRt(waiting, seconds), factor, 1e-9) << c.what << ": " << waiting;
        }
        pace.restRt();
        EXPECT_EQ(pace.factor(), 1) << c.what;
    }
}

}  // namespace
}  // namespace tarn::test
