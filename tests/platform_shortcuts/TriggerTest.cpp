// Which texts of the settings file are keys.
#include "TarnPlatform/shortcuts/Trigger.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

TEST(TriggerTest, ReadsKeysInAnySpelling) {
    const std::pair<const char*, const char*> rows[] = {
        {"Ctrl+Alt+M", "CTRL+ALT+m"},         {"alt+CTRL+m", "CTRL+ALT+m"},
        {"Super+Shift+9", "SHIFT+LOGO+9"},    {"F12", "F12"},
        {"Shift+f24", "SHIFT+F24"},           {"Ctrl+pageup", "CTRL+Page_Up"},
        {"Ctrl+Alt+Space", "CTRL+ALT+space"}, {"Pause", "Pause"},
    };
    for (const auto& [text, expected] : rows) {
        const auto trigger = Trigger::parse(text);
        ASSERT_TRUE(trigger) << text;
        EXPECT_EQ(trigger->portalText(), expected);
    }
    EXPECT_EQ(Trigger::parse("F1")->keysym, 0xffbeU);
    EXPECT_EQ(Trigger::parse("F24")->keysym, 0xffd5U);
}

TEST(TriggerTest, RefusesWhatIsNoKeyAndWhatPeopleTypeWith) {
    for (const char* text :
         {"",        "+",       "Ctrl+",       "+M",    "Ctrl+Alt", "Ctrl++M", "Ctrl+Ctrl+M", "Hyper+M",
          "Ctrl+MM", "Ctrl+ M", "Ctrl+é",      "F0",    "F25",      "F01",     "F1x",         "F99999999999",
          "M",       "Shift+M", "Shift+Space", "Delete"}) {
        EXPECT_FALSE(Trigger::parse(text)) << text;
    }
}

}  // namespace
}  // namespace tarn
