// Where the parts of a column lie, without a window.
#include <gmock/gmock.h>

#include <array>

#include "TarnApp/views/overlay/NoticePlaces.h"
#include "TarnApp/views/overlay/RowPlaces.h"
#include "TarnApp/views/overlay/SubtitlePlaces.h"

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

TEST(RowPlaces, GiveWayInTheirOrder) {
    // The dot is 8 wide, the source 39, the arrow 13, a language's frame 35; the texts 75 and 80 with the
    // code, 48 and 53 without.
    struct Case {
        qreal width;
        qreal name;
        qreal nameWidth;
        qreal meter;
        bool isTight;
        bool showsCodes;
        qreal from;
        qreal to;
        qreal end;  // of the last
    };
    const std::array<Case, 13> cases{{
        {640, 0, 0, 60, false, true, 110, 115, 375},
        {640, 200, 160, 60, false, true, 110, 115, 541},
        {541, 200, 160, 60, false, true, 110, 115, 541},
        {540, 200, 160, 59, false, true, 110, 115, 540},  // the meter first
        {500, 200, 159, 20, false, true, 110, 115, 500},  // then the name
        {401, 200, 60, 20, false, true, 110, 115, 401},
        {400, 200, 71, 20, true, true, 104, 109, 400},  // then the margins
        {388, 200, 113, 20, true, false, 77, 82, 388},  // the codes
        {300, 200, 0, 60, true, false, 77, 82, 299},
        {306, 0, 0, 60, true, false, 77, 82, 299},  // one of four columns at the window's least
        {306, 30, 30, 33, true, false, 77, 82, 306},
        {245, 0, 0, 0, true, false, 77, 82, 235},
        {200, 0, 0, 0, true, false, 62, 62, 200},  // the names last
    }};
    for (const Case& one : cases) {
        const auto places = RowPlaces::places({one.width, 8, 39, one.name, 13, 35, {75, 48}, {80, 53}});
        EXPECT_EQ(places.name.width(), one.nameWidth) << one.width;
        EXPECT_EQ(places.meter.width(), one.meter) << one.width;
        EXPECT_EQ(places.isTight, one.isTight) << one.width;
        EXPECT_EQ(places.showsCodes, one.showsCodes) << one.width;
        EXPECT_EQ(places.from.width(), one.from) << one.width;
        EXPECT_EQ(places.to.width(), one.to) << one.width;
        EXPECT_EQ(places.to.right(), one.end) << one.width;
    }
}

TEST(SubtitlePlaces, ShareThePaneOrLeaveItToTheTranslation) {
    // Margins of 8, a distance of 10; lines of 20 and 22.
    struct Case {
        const char* what;
        qreal height;
        bool hasSource;
        qreal sourceNatural;
        qreal sourceHeight;
        qreal translationNatural;
        qreal lift;
        SubtitlePlaces::Places at;  // has room, above, source's room and y, translation's room and y
    };
    const std::array<Case, 10> cases{{
        {"short texts", 126, true, 20, 20, 22, 0, {true, 0, 20, 8, 80, 38}},
        {"the translation leaves enough", 126, true, 60, 60, 40, 0, {true, 0, 60, 8, 40, 78}},
        {"it leaves less", 126, true, 80, 60, 40, 0, {true, 0, 60, 8, 40, 78}},
        {"it is too long: a part at least", 126, true, 80, 40, 200, 0, {true, 0, 40, 8, 60, 58}},
        {"a short one beside a long one", 126, true, 20, 20, 200, 0, {true, 0, 20, 8, 80, 38}},
        {"the language is not chosen", 126, false, 20, 20, 22, 0, {true, 0, 20, 8, 110, 8}},
        {"exactly a line of both", 68, true, 60, 20, 60, 0, {true, 0, 16.8, 8, 22, 38}},
        {"a point less", 67, true, 60, 40, 60, 0, {true, 50, 51, -42, 51, 8}},
        {"scrolled in, as far as there is", 67, true, 60, 40, 60, 70, {true, 50, 51, 8, 51, 58}},
        {"not a line", 37, true, 20, 20, 22, 0, {false, 30, 21, -22, 21, 8}},
    }};
    for (const Case& one : cases) {
        const auto at = SubtitlePlaces::places({one.height, 8, 10, one.hasSource, 20, one.sourceNatural,
                                                one.sourceHeight, 22, one.translationNatural},
                                               one.lift);
        EXPECT_EQ(at, one.at) << one.what << ": " << at.above << " " << at.sourceRoom << " " << at.sourceY
                              << " " << at.translationRoom << " " << at.translationY;
    }
}

}  // namespace
}  // namespace tarn
