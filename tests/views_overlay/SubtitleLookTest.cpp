// The look of subtitles over settings of the test's own.
#include "TarnApp/look/SubtitleLook.h"

#include <gtest/gtest.h>

#include <QSignalSpy>
#include <tuple>

namespace tarn {
namespace {

TEST(SubtitleLookTest, KeepsEachChoiceAndGivesAllBack) {
    const auto defaults = UserDefaults::inMemory();
    const std::tuple<const char*, QVariant, QVariant> rows[] = {
        {"fontFamily", "DejaVu Serif", "DejaVu Serif"},
        {"weight", 700, 700},
        {"weight", 5000, 900},
        {"originalColor", "#FFE066", "#ffe066"},
        {"translationColor", "red", ""},
        {"outlineWidth", 9, 4},
        {"backgroundOpacity", -3, 0},
        {"alignment", "center", "center"},
        {"alignment", "nowhere", "start"},
        {"original", "hidden", "hidden"},
        {"readingMode", true, true},
        {"keptUtterances", 99, 5}};
    for (const auto& [name, set, got] : rows) {
        SubtitleLook look(defaults);
        EXPECT_TRUE(look.setProperty(name, set));
        EXPECT_EQ(look.property(name), got) << name;
        EXPECT_EQ(SubtitleLook(defaults).property(name), got) << name << ", loaded";
    }
    SubtitleLook look(defaults);
    EXPECT_TRUE(look.isChanged());
    const QSignalSpy changes(&look, &SubtitleLook::changed);
    look.reset();
    EXPECT_EQ(changes.count(), 1);
    EXPECT_FALSE(look.isChanged());
    EXPECT_FALSE(SubtitleLook(defaults).isChanged());
}

TEST(SubtitleLookTest, TakesNoNonsenseThatIsStored) {
    const auto defaults = UserDefaults::inMemory();
    defaults->set("look.weight", std::int64_t{-5});
    defaults->set("look.originalColor", "#12");
    defaults->set("look.outlineWidth", "wide");
    defaults->set("look.backgroundOpacity", std::int64_t{4000000000000});
    defaults->set("look.alignment", std::int64_t{3});
    defaults->set("look.keptUtterances", std::int64_t{0});
    SubtitleLook look(defaults);
    EXPECT_EQ(look.keptUtterances(), 1);
    look.setKeptUtterances(SubtitleLook::usualKept);
    EXPECT_FALSE(look.isChanged());
}

TEST(SubtitleLookTest, WeighsColoursAsWcagDoes) {
    EXPECT_NEAR(SubtitleLook::contrast(Qt::white, Qt::black), 21, 0.001);
    EXPECT_NEAR(SubtitleLook::contrast("#777777", Qt::white), 4.48, 0.005);
    EXPECT_NEAR(SubtitleLook::contrast(Qt::white, "#777777"), 4.48, 0.005);
    EXPECT_NEAR(SubtitleLook::contrast("#0000ff", "#0000ff"), 1, 0.001);
}

}  // namespace
}  // namespace tarn
