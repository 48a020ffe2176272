// What the controls show of numbers and states, and how chips flow.
#include <gmock/gmock.h>

#include <cmath>
#include <limits>
#include <vector>

#include "TarnApp/views/controls/FlowLayout.h"
#include "TarnApp/views/controls/LanguageRows.h"
#include "TarnApp/views/controls/LevelScale.h"
#include "TarnApp/views/controls/Readouts.h"

namespace tarn {
namespace {

constexpr qreal unbounded = std::numeric_limits<qreal>::infinity();

std::string shape(const std::vector<FlowLayout::Row>& rows) {
    std::string text;
    for (const auto& row : rows) {
        text += text.empty() ? "" : "/";
        for (const auto& item : row.items) {
            text += std::to_string(item.index);
        }
    }
    return text;
}

TEST(FlowLayout, BreaksRowsWhereTheWidthIsUsedUp) {
    struct Case {
        const char* what;
        std::vector<QSizeF> sizes;
        qreal available;
        const char* rows;
        QSizeF size;
    };
    const std::vector<Case> cases{
        {"nothing", {}, 100, "", {0, 0}},
        {"no limit", {{90, 10}, {80, 20}, {70, 5}}, unbounded, "012", {256, 20}},
        {"exactly full", {{40, 10}, {52, 20}}, 100, "01", {100, 20}},
        {"one point too many", {{40, 10}, {53, 20}}, 100, "0/1", {53, 36}},
        {"one wider than all", {{30, 10}, {150, 20}, {30, 10}}, 100, "0/1/2", {100, 52}},
        {"the first wider than all", {{150, 20}, {30, 10}}, 100, "0/1", {100, 36}},
        {"no room at all", {{30, 10}, {30, 10}}, 0, "0/1", {0, 26}},
        {"rows as high as their highest", {{50, 10}, {40, 30}, {50, 20}}, 100, "01/2", {98, 56}},
    };
    for (const Case& one : cases) {
        const auto rows = FlowLayout::rows(one.sizes, one.available, 8);
        EXPECT_EQ(shape(rows), one.rows) << one.what;
        EXPECT_EQ(FlowLayout::sizeThatFits(rows, one.available, 6), one.size) << one.what;
    }
}

TEST(LevelScale, CoversEightyDecibels) {
    struct Case {
        float level;
        double fraction;
        const char* light;
    };
    constexpr float nan = std::numeric_limits<float>::quiet_NaN();
    constexpr float infinite = std::numeric_limits<float>::infinity();
    const std::vector<Case> cases{
        {-1, 0, "green"},       {0, 0, "green"},         {nan, 0, "green"},      {0.00009F, 0, "green"},
        {0.0001F, 0, "green"},  {0.01F, 0.5, "green"},   {0.025F, 0.6, "green"}, {0.0252F, 0.6, "yellow"},
        {0.1F, 0.75, "yellow"}, {0.25F, 0.85, "yellow"}, {0.2513F, 0.85, "red"}, {0.35F, 0.886, "red"},
        {1, 1, "red"},          {1.5F, 1, "red"},        {infinite, 1, "red"},
    };
    for (const Case& one : cases) {
        EXPECT_NEAR(LevelScale::fraction(one.level), one.fraction, 0.001) << one.level;
        EXPECT_EQ(LevelScale::light(one.level), one.light) << one.level;
    }
}

TEST(Readouts, RoundAsPrintfDoes) {
    EXPECT_EQ(Readouts::rate(1), QString::fromUtf8("1.0×"));
    EXPECT_EQ(Readouts::rate(0.55), QString::fromUtf8("0.6×"));
    EXPECT_EQ(Readouts::rate(1.25), QString::fromUtf8("1.2×"));  // a tie goes to the even digit
    EXPECT_EQ(Readouts::scale(1.05), QString::fromUtf8("1.05×"));
    EXPECT_EQ(Readouts::gain(1), "100%");
    EXPECT_EQ(Readouts::gain(0), "0%");
    EXPECT_EQ(Readouts::gain(10), "1000%");
    EXPECT_EQ(Readouts::gain(1e300).size(), 304);  // a stored value may be anything
    EXPECT_EQ(Readouts::rate(std::nan("")), QString::fromUtf8("nan×"));
}

TEST(Readouts, TakeMillisecondsAsTheyAreTyped) {
    const std::vector<std::pair<const char*, int>> cases{
        {"800", 800}, {"0", 0},    {" 0650 ", 650}, {"12000", 10000}, {"99999999999", 10000},       {"", -1},
        {"-5", -1},   {"1e3", -1}, {"abc", -1},     {"12.5", -1},     {"99999999999999999999", -1},
    };
    for (const auto& [typed, value] : cases) {
        EXPECT_EQ(Readouts::milliseconds(typed, 10000), value) << typed;
    }
}

TEST(Readouts, PutWhatOthersWroteOnOneLine) {
    const std::vector<std::pair<QString, QString>> cases{
        {" a\n\tb ", "a b"},
        {QString("a\x1b[31mb\x07") + QChar(0), "a [31mb"},
        {QString("a") + QChar(0x202e) + "b", "a b"},
        {"مشغل", "مشغل"},
        {QString(200, 'w'), QString(200, 'w')},
    };
    for (const auto& [written, shown] : cases) {
        EXPECT_EQ(Readouts::oneLine(written), shown);
    }
}

TEST(LanguageRows, BeginWithTheAutomaticChoiceWhereThereIsOne) {
    const auto with = LanguageRows::choices("Auto-detect");
    const auto without = LanguageRows::choices("");
    ASSERT_EQ(with.size(), without.size() + 1);
    EXPECT_EQ(with[0].toMap()["value"].toString(), "");
    EXPECT_EQ(with[0].toMap()["label"].toString(), "Auto-detect");
    EXPECT_EQ(with[1], without[0]);
    EXPECT_EQ(without[0].toMap()["label"].toString(), QString::fromUtf8("中文 (zh)"));
    EXPECT_EQ(without[10].toMap()["label"].toString(), QString::fromUtf8("\u200e\u2068العربية\u2069 (ar)"));
}

}  // namespace
}  // namespace tarn
