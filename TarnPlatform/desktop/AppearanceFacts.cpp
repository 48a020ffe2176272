#include "AppearanceFacts.h"

#include <cctype>
#include <string>
#include <string_view>

namespace tarn {
namespace {

std::string lettersOf(std::string_view theme) {
    std::string letters;
    for (const char letter : theme) {
        const auto c = static_cast<unsigned char>(letter);
        if (std::isalpha(c) != 0) {
            letters += static_cast<char>(std::tolower(c));
        }
    }
    return letters;
}

/// "Arc-Dark", "Adwaita:dark", "Breeze_dark", "HighContrastInverse": how dark themes are named.
std::optional<bool> isDarkTheme(std::string_view theme) {
    if (theme.empty()) {
        return std::nullopt;
    }
    const auto name = lettersOf(theme);
    return name.ends_with("dark") || name.ends_with("inverse");
}

/// "HighContrast", "HighContrastInverse", "Mint-High-Contrast".
bool isOfHighContrast(std::string_view theme) {
    return lettersOf(theme).find("highcontrast") != std::string::npos;
}

}  // namespace

// From the most explicit to the least: the portal, a variable that the user has set, the desktop's setting,
// and last the names of themes, which say "dark" but never "light".
std::optional<bool> AppearanceFacts::dark() const {
    constexpr std::uint32_t preferDark = 1;
    constexpr std::uint32_t preferLight = 2;
    if (portalScheme == preferDark || portalScheme == preferLight) {
        return portalScheme == preferDark;
    }
    if (const auto dark = isDarkTheme(gtkThemeVariable)) {
        return dark;
    }
    if (settingsScheme == "prefer-dark" || settingsScheme == "prefer-light") {
        return settingsScheme == "prefer-dark";
    }
    if (gtkFilePrefersDark == true) {
        return true;
    }
    if (const auto dark = isDarkTheme(settingsTheme)) {
        return dark;
    }
    const auto dark = isDarkTheme(gtkFileTheme);
    return dark ? dark : gtkFilePrefersDark;
}

bool AppearanceFacts::reducedMotion() const {
    return !portalAnimations.value_or(settingsAnimations.value_or(true));
}

bool AppearanceFacts::highContrast() const {
    constexpr std::uint32_t higher = 1;
    return portalContrast == higher || portalHighContrast == true || settingsHighContrast == true ||
           isOfHighContrast(gtkThemeVariable) || isOfHighContrast(settingsTheme) ||
           isOfHighContrast(gtkFileTheme);
}

}  // namespace tarn
