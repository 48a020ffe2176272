#include "TarnPlatform/windows/WindowEdges.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

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
    constexpr QSize minimum(480, 140);
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
