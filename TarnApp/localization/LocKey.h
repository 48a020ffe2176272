#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "AppLanguage.h"

namespace tarn {

/// The texts of the interface that have a fixed wording.
enum class LocKey : std::uint8_t {
#define TARN_TEXT(key, english, chinese) key,
#include "LocTexts.h"
#undef TARN_TEXT
};

template <>
struct TextTable<LocKey> {
    /// The fixed wording, some of which is true of another desktop only.
    static constexpr auto fixed = std::to_array<TextRow>({
#define TARN_TEXT(key, english, chinese) {#key, english, chinese},
#include "LocTexts.h"
#undef TARN_TEXT
    });
    /// What is shown: the fixed wording, or this desktop's own where there is one.
    static constexpr auto rows = [] {
        auto shown = fixed;
#define TARN_TEXT(key, english, chinese) \
    shown[static_cast<std::size_t>(LocKey::key)] = {#key, english, chinese};
#include "DesktopTexts.h"
#undef TARN_TEXT
        return shown;
    }();
};

}  // namespace tarn
