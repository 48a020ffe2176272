#include "TarnPlatform/desktop/AppearanceFacts.h"

#include <gtest/gtest.h>

namespace tarn {
namespace {

TEST(AppearanceFacts, WeighsWhatTheDesktopSays) {
    struct Case {
        const char* what;
        AppearanceFacts facts;
        std::optional<bool> dark;
    };
    const Case cases[] = {
        {"nobody says", {}, std::nullopt},
        {"portal: dark", {.portalScheme = 1, .gtkFilePrefersDark = false}, true},
        {"portal: light over a dark theme", {.portalScheme = 2, .gtkThemeVariable = "Adwaita:dark"}, false},
        {"portal: a number of tomorrow", {.portalScheme = 7, .settingsScheme = "prefer-dark"}, true},
        {"variable, light", {.gtkThemeVariable = "Adwaita", .settingsScheme = "prefer-dark"}, false},
        {"file prefers dark", {.gtkFilePrefersDark = true, .gtkFileTheme = "Adwaita"}, true},
        {"a dark theme", {.gtkFilePrefersDark = false, .gtkFileTheme = "Arc-Dark"}, true},
        {"file does not prefer dark", {.gtkFilePrefersDark = false}, false},
        {"theme of the settings", {.settingsTheme = "Yaru-dark"}, true},
        {"darkness in the middle of a name", {.gtkFileTheme = "Darkest Hour"}, false},
        {"the dark one of high contrast", {.settingsTheme = "HighContrastInverse"}, true},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.facts.dark(), c.dark) << c.what;
    }
    EXPECT_FALSE(AppearanceFacts{}.reducedMotion());
    EXPECT_TRUE((AppearanceFacts{.settingsAnimations = false}).reducedMotion());
    EXPECT_FALSE((AppearanceFacts{.portalAnimations = true, .settingsAnimations = false}).reducedMotion());
}

TEST(AppearanceFacts, HearsWhoeverAsksForHighContrast) {
    struct Case {
        const char* what;
        AppearanceFacts facts;
        bool high;
    };
    const Case cases[] = {
        {"nobody says", {}, false},
        {"portal", {.portalContrast = 1}, true},
        {"portal: no preference, and GNOME's own", {.portalContrast = 0, .portalHighContrast = true}, true},
        {"settings", {.settingsHighContrast = true}, true},
        {"variable", {.gtkThemeVariable = "HighContrast:dark"}, true},
        {"file", {.gtkFileTheme = "Mint-High-Contrast"}, true},
        {"theme of the settings", {.settingsTheme = "HighContrastInverse"}, true},
        {"another theme", {.gtkFileTheme = "Contrast", .settingsTheme = "Adwaita-dark"}, false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(c.facts.highContrast(), c.high) << c.what;
    }
}

}  // namespace
}  // namespace tarn
