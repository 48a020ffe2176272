#pragma once

#include <array>
#include <optional>
#include <string>
#include <string_view>

#include "TarnApp/localization/LocKey.h"

namespace tarn {

/// How many sources are translated side by side.
enum class AppMode : unsigned char {
    solo,          ///< one
    conversation,  ///< two to four
};

inline constexpr std::array allAppModes{AppMode::solo, AppMode::conversation};

constexpr std::string_view rawValue(AppMode mode) {
    return mode == AppMode::solo ? "solo" : "conversation";
}

/// Nothing for any other text; letter case counts.
constexpr std::optional<AppMode> appMode(std::string_view raw) {
    for (const AppMode mode : allAppModes) {
        if (rawValue(mode) == raw) {
            return mode;
        }
    }
    return std::nullopt;
}

/// In the interface's language.
inline std::string label(AppMode mode) {
    return std::string(text(mode == AppMode::solo ? LocKey::modeSolo : LocKey::modeConversation));
}

}  // namespace tarn
