#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarn {

/// What the places of a desktop say of its look, as far as they say anything.
struct AppearanceFacts {
    std::optional<std::uint32_t> portalScheme{};  ///< 1: dark, 2: light, 0: no preference
    std::optional<bool> portalAnimations{};
    std::optional<std::uint32_t> portalContrast{};  ///< 1: higher, 0: no preference
    std::optional<bool> portalHighContrast{};       ///< of GNOME, whose older portals know nothing else
    std::string gtkThemeVariable{};                 ///< "Adwaita:dark"
    std::optional<bool> gtkFilePrefersDark{};       ///< of the settings files of GTK
    std::string gtkFileTheme{};
    std::string settingsScheme{};  ///< of the desktop's own settings: "prefer-dark"
    std::string settingsTheme{};
    std::optional<bool> settingsAnimations{};
    std::optional<bool> settingsHighContrast{};

    /// Dark or light, or nothing where nobody says. A portal's word counts most, then what is said about GTK.
    std::optional<bool> dark() const;
    bool reducedMotion() const;
    /// Whoever asks for it is heard: no place says so by default. Themes ask by their name.
    bool highContrast() const;

    bool operator==(const AppearanceFacts&) const = default;
};

}  // namespace tarn
