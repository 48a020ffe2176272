#include "AppearanceFacts.h"

#include <algorithm>
#include <cctype>
#include <string_view>

namespace tarn {
namespace {

/// "Arc-Dark", "Adwaita:dark", "Breeze_dark": how dark themes are named.
std::optional<bool> isDarkTheme(std::string_view theme) {
    constexpr std::string_view dark = "dark";
    if (theme.empty()) {
        return std::nullopt;
    }
    return theme.size() >= dark.size() &&
           std::ranges::equal(theme.substr(theme.size() - dark.size()), dark, {},
                              [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
}

}  // namespace

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

}  // namespace tarn
