// Where a window may stand, and what a pointer at its edges pulls.
#include "TarnPlatform/windows/FramePlacement.h"

#include <gtest/gtest.h>

#include <vector>

#include "TarnPlatform/windows/WindowEdges.h"

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

TEST(WindowEdges, FindsEdgesAndCornersUnderThePointer) {
    constexpr Qt::Edges none;
    struct Case {
        QPoint point;
        Qt::Edges edges;
        Qt::CursorShape cursor;
    };
    const Case cases[] = {
        {{320, 110}, none, Qt::ArrowCursor},
        {{0, 110}, Qt::LeftEdge, Qt::SizeHorCursor},
        {{639, 110}, Qt::RightEdge, Qt::SizeHorCursor},
        {{6, 110}, none, Qt::ArrowCursor},
        {{320, 219}, Qt::BottomEdge, Qt::SizeVerCursor},
        {{15, 2}, Qt::LeftEdge | Qt::TopEdge, Qt::SizeFDiagCursor},
        {{16, 2}, Qt::TopEdge, Qt::SizeVerCursor},
        {{638, 10}, Qt::RightEdge | Qt::TopEdge, Qt::SizeBDiagCursor},
        {{2, 210}, Qt::LeftEdge | Qt::BottomEdge, Qt::SizeBDiagCursor},
        {{639, 219}, Qt::RightEdge | Qt::BottomEdge, Qt::SizeFDiagCursor},
        {{-1, 110}, none, Qt::ArrowCursor},
        {{640, 110}, none, Qt::ArrowCursor},
    };
    for (const auto& c : cases) {
        const auto edges = WindowEdges::at(c.point, {640, 220});
        EXPECT_EQ(edges, c.edges) << c.point.x() << "," << c.point.y();
        EXPECT_EQ(WindowEdges::cursor(edges), c.cursor) << c.point.x() << "," << c.point.y();
    }
}

TEST(WindowEdges, PullsAnEdgeAndLeavesTheOppositeOneWhereItIs) {
    constexpr QRect frame(100, 200, 640, 220);
    struct Case {
        Qt::Edges edges;
        QPoint distance;
        QRect expected;
    };
    const Case cases[] = {
        {Qt::RightEdge, {30, 99}, {100, 200, 670, 220}},
        {Qt::LeftEdge, {-30, 99}, {70, 200, 670, 220}},
        {Qt::TopEdge, {99, 20}, {100, 220, 640, 200}},
        {Qt::BottomEdge, {99, 20}, {100, 200, 640, 240}},
        {Qt::LeftEdge | Qt::TopEdge, {1000, 1000}, {260, 280, 480, 140}},
        {Qt::RightEdge | Qt::BottomEdge, {-1000, -1000}, {100, 200, 480, 140}},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(WindowEdges::pulled(frame, c.edges, c.distance, minimum), c.expected)
            << static_cast<int>(c.edges);
    }
}

}  // namespace
}  // namespace tarn
