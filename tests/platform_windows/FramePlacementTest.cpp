#include "TarnPlatform/windows/FramePlacement.h"

#include <gtest/gtest.h>

#include <vector>

namespace tarn {
namespace {

constexpr QRect laptop(0, 0, 1920, 1080);
constexpr QRect monitor(1920, -200, 2560, 1440);
constexpr QSize minimum(480, 140);

std::string shown(QRect frame) {
    return FramePlacement::text(frame);
}

TEST(FramePlacement, PutsAWindowWhereTheUserCanReachIt) {
    struct Case {
        const char* what;
        QRect frame;
        std::vector<QRect> screens;
        QRect expected;
    };
    const Case cases[] = {
        {"where it was", {100, 900, 640, 180}, {laptop}, {100, 900, 640, 180}},
        {"across two screens", {1700, 100, 640, 220}, {laptop, monitor}, {1700, 100, 640, 220}},
        {"across two screens with a step", {1700, 1000, 640, 220}, {laptop, monitor}, {1920, 1000, 640, 220}},
        {"monitor gone", {3000, 500, 640, 220}, {laptop}, {1280, 500, 640, 220}},
        {"far off", {-32000, 32000, 640, 220}, {laptop, monitor}, {0, 860, 640, 220}},
        {"nearest of two", {5000, 100, 640, 220}, {laptop, monitor}, {3840, 100, 640, 220}},
        {"larger than the screen", {-50, -50, 4000, 3000}, {laptop}, {0, 0, 1920, 1080}},
        {"smaller than the minimum", {100, 100, 10, 10}, {laptop}, {100, 100, 480, 140}},
        {"minimum larger than the screen", {50, 50, 640, 220}, {{0, 0, 320, 100}}, {0, 0, 480, 140}},
        {"panel at the left", {10, 100, 640, 220}, {{64, 32, 1856, 1048}}, {64, 100, 640, 220}},
        {"no screen", {3000, 500, 640, 220}, {}, {3000, 500, 640, 220}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(shown(FramePlacement::onScreens(c.frame, c.screens, minimum)), shown(c.expected)) << c.what;
    }
}

TEST(FramePlacement, TakesNothingButAFrameForOne) {
    const QRect frames[] = {{100, 200, 640, 220}, {-1920, -5, 1, 1}, {0, 0, 32767, 32767}};
    for (const QRect& frame : frames) {
        EXPECT_EQ(FramePlacement::frame(FramePlacement::text(frame)), frame);
    }
    const char* const garbage[] = {"",
                                   "1 2 3",
                                   "1 2 3 4 5",
                                   " 1 2 3 4",
                                   "1 2 0 4",
                                   "1.5 2 3 4",
                                   "1 2 3 4\n",
                                   "2147483647 0 640 220",
                                   "1 2 3 99999999999999999999"};
    for (const char* text : garbage) {
        EXPECT_FALSE(FramePlacement::frame(text)) << "\"" << text << "\"";
    }
}

}  // namespace
}  // namespace tarn
