#pragma once

#include <algorithm>
#include <array>
#include <cmath>

#include "TarnPlatform/settings/UserDefaults.h"

namespace tarn {

/// By how many decibels other programs are turned down while a translated voice speaks, as the user wants it.
struct OthersTurnedDown {
    static constexpr const char* key = "othersTurnedDown";
    static constexpr std::array choices{0, -6, -12, -20};  ///< the first: not at all
    static constexpr int usual = -12;

    static int nearest(double decibels) {
        const double within = std::clamp<double>(decibels, choices.back(), choices.front());
        return std::ranges::min(choices, {}, [&](int choice) { return std::abs(choice - within); });
    }
    static int in(const UserDefaults& settings) { return nearest(settings.number(key).value_or(usual)); }
};

}  // namespace tarn
