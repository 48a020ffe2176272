// What the base controls work out without a window.
#include <gmock/gmock.h>

#include <QFile>
#include <QFontMetricsF>
#include <QGuiApplication>
#include <QRawFont>
#include <QScreen>
#include <vector>

#include "TarnApp/views/style/MenuWalk.h"
#include "TarnApp/views/style/Paragraphs.h"
#include "TarnApp/views/style/PopoverGuard.h"
#include "TarnApp/views/style/SliderSteps.h"
#include "TarnApp/views/style/Symbols.h"

namespace tarn {
namespace {

TEST(PopoverFrame, IsOnTheScreenAndOffItsAnchorWhereThereIsRoom) {
    struct Case {
        const char* what;
        QRectF anchor;
        QSizeF wanted;
        QRectF expected;
        QRectF owner{1000, 100, 800, 600};
    };
    const QRectF screen(1000, 100, 800, 600);
    const std::vector<Case> cases{
        {"below", {1100, 200, 50, 20}, {200, 300}, {1100, 224, 200, 300}},
        {"above, where below is too little", {1100, 500, 50, 20}, {200, 300}, {1100, 196, 200, 300}},
        {"moved in from the right edge", {1780, 200, 50, 20}, {200, 300}, {1600, 224, 200, 300}},
        {"moved in from the left edge", {900, 200, 50, 20}, {200, 300}, {1000, 224, 200, 300}},
        {"over the anchor, where neither side is enough",
         {1100, 400, 50, 20},
         {200, 500},
         {1100, 200, 200, 500}},
        {"cut to the screen", {1100, 400, 50, 20}, {900, 700}, {1000, 100, 800, 600}},
        {"anchor off the screen", {1100, 900, 50, 20}, {200, 300}, {1100, 400, 200, 300}},
        {"at the end of its window",
         {1350, 200, 40, 20},
         {200, 300},
         {1190, 224, 200, 300},
         {1100, 190, 300, 200}},
        {"in a window that is smaller",
         {1110, 200, 40, 20},
         {200, 300},
         {1110, 224, 200, 300},
         {1100, 190, 100, 200}},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(popoverFrame(one.anchor, one.owner, one.wanted, screen, 4), one.expected) << one.what;
    }
}

TEST(PopoverGuard, ClosesWhereItsScreenChanges) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argc = 0;
    const QGuiApplication application(argc, nullptr);
    QQuickWindow window;
    window.show();
    QQuickItem button(window.contentItem());
    PopoverGuard guard;
    guard.setAnchor(&button);
    int closings = 0;
    QObject::connect(&guard, &PopoverGuard::dismissed, [&] {
        ++closings;
        guard.setUp(false);
    });
    for (int i = 1; i <= 2; ++i) {
        guard.setUp(true);
        Q_EMIT window.screen()->logicalDotsPerInchChanged(120);
        Q_EMIT window.screen()->geometryChanged({});
        EXPECT_EQ(closings, i);
    }
}

TEST(Paragraphs, HaveNoLineOfOneCharacterAtTheirEnd) {
    qputenv("QT_QPA_PLATFORM", "offscreen");
    int argc = 0;
    const QGuiApplication application(argc, nullptr);
    const QFont font;
    const qreal room = 13.5 * QFontMetricsF(font).horizontalAdvance(QStringLiteral("中"));
    const auto balanced = [&](int characters) {
        return Paragraphs::balancedWidth(QStringLiteral("中").repeated(characters), font, room);
    };
    EXPECT_NEAR(balanced(14) / room, 7 / 13.5, 0.05) << "7 and 7, and not 13 and 1";
    EXPECT_EQ(balanced(13), room) << "one line stays";
    EXPECT_EQ(Paragraphs::balancedWidth({}, font, room), room);
}

TEST(MenuTarget, FollowsKeysOverWhatCannotBeChosen) {
    const QStringList labels{"",           "Auto-detect", "中文 (zh)", "", "English (en)", "Español (es)",
                             "日本語 (ja)"};
    struct Case {
        const char* what;
        qsizetype from;
        int key;
        const char* typed;
        qsizetype expected;  ///< -1: nowhere
    };
    const std::vector<Case> cases{
        {"over a divider", 2, Qt::Key_Down, "", 4},
        {"back over it", 4, Qt::Key_Up, "", 2},
        {"around the end, over the heading", 6, Qt::Key_Down, "", 1},
        {"around the beginning", 1, Qt::Key_Up, "", 6},
        {"Home", 6, Qt::Key_Home, "", 1},
        {"End", 1, Qt::Key_End, "", 6},
        {"a letter", 1, Qt::Key_E, "e", 4},
        {"the same again", 4, Qt::Key_E, "e", 5},
        {"and around", 5, Qt::Key_E, "E", 4},
        {"the code, where no label begins so", 1, Qt::Key_J, "j", 6},
        {"another script", 1, 0, "日", 6},
        {"no such letter", 1, Qt::Key_X, "x", -1},
        {"not inside a word", 1, Qt::Key_N, "n", -1},
        {"Return", 1, Qt::Key_Return, "\r", -1},
        {"Tab", 1, Qt::Key_Tab, "\t", -1},
    };
    for (const Case& one : cases) {
        EXPECT_EQ(menuTarget(labels, one.from, one.key, QString::fromUtf8(one.typed)).value_or(-1),
                  one.expected)
            << one.what;
    }
    EXPECT_FALSE(menuTarget({"", ""}, 0, Qt::Key_Down, ""));
    EXPECT_FALSE(menuTarget({}, -1, Qt::Key_Home, ""));
}

}  // namespace
}  // namespace tarn
