#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace tarn {

/// The settings of the desktop's look, from each place that may have them. An empty one was not found there.
struct AppearanceFacts {
    std::optional<std::uint32_t> portalScheme{};  ///< 1: dark, 2: light, 0: no preference
    std::optional<bool> portalAnimations{};
    std::optional<std::uint32_t> portalContrast{};  ///< 1: higher, 0: no preference
    std::optional<bool> portalHighContrast{};       ///< GNOME's own, the only one in its older portals
    std::string gtkThemeVariable{};                 ///< "Adwaita:dark"
    std::optional<bool> gtkFilePrefersDark{};       ///< of the settings files of GTK
    std::string gtkFileTheme{};
    std::string settingsScheme{};  ///< of the desktop's own settings: "prefer-dark"
    std::string settingsTheme{};
    std::optional<bool> settingsAnimations{};
    std::optional<bool> settingsHighContrast{};

    /// Whether the desktop is dark; nothing where no place says. The portal counts first, since it speaks for
    /// the desktop that runs, then the settings of GTK.
    std::optional<bool> dark() const;
    bool reducedMotion() const;
    /// True where any place asks for it, since none does by default. A theme asks by its name.
    bool highContrast() const;

    bool operator==(const AppearanceFacts&) const = default;
};

}  // namespace tarn
