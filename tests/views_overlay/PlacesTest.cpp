// Where the parts of a column lie, without a window.
#include <gmock/gmock.h>

#include <array>

#include "TarnApp/views/overlay/NoticePlaces.h"

namespace tarn {
namespace {

TEST(NoticePlaces, AreBesideTheControlsOrElseBelow) {
    constexpr QSizeF none(0, 20);
    constexpr QSizeF small(90, 20);
    constexpr QSizeF large(400, 20);
    struct Case {
        const char* what;
        qreal beside;  // the room
        QSizeF error;
        QSizeF health;
        QRectF errorAt;
        QRectF healthAt;
        qreal below;
    };
    // The room beside begins at 300, 4; the lines below at 12, 36, and are 330 wide.
    const std::array<Case, 9> cases{{
        {"nothing to say", 200, none, none, {}, {}, 0},
        {"one fits", 200, none, small, {}, {300, 8, 90, 20}, 0},
        {"one fits exactly", 90, small, none, {300, 8, 90, 20}, {}, 0},
        {"a point too narrow", 89, none, small, {}, {12, 36, 90, 20}, 24},
        {"a long one is cut beside", 160, large, none, {300, 8, 160, 20}, {}, 0},
        {"a long one is cut below", 159, large, none, {12, 36, 330, 20}, {}, 24},
        {"both beside", 700, large, small, {300, 8, 400, 20}, {706, 8, 90, 20}, 0},
        {"the error chooses first", 200, large, small, {300, 8, 200, 20}, {12, 36, 90, 20}, 24},
        {"both below, in two lines", 0, large, small, {12, 36, 330, 20}, {12, 60, 90, 20}, 48},
    }};
    for (const Case& one : cases) {
        const std::array wanted{one.error, one.health};
        const auto places = NoticePlaces::places({300, 4, one.beside, 28}, {12, 36, 330, 0}, wanted);
        EXPECT_EQ(places.notices[0], one.errorAt) << one.what;
        EXPECT_EQ(places.notices[1], one.healthAt) << one.what;
        EXPECT_EQ(places.heightBelow, one.below) << one.what;
    }
}

}  // namespace
}  // namespace tarn
