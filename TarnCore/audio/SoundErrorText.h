#pragma once

#include <array>
#include <cstdint>

#include "TarnPlatform/base/TextTable.h"

namespace tarn {

/// What people are told of failures of capture and microphone.
enum class SoundErrorText : std::uint8_t {
#define TARN_TEXT(key, english, chinese) key,
#include "SoundErrorTexts.h"
#undef TARN_TEXT
};

template <>
struct TextTable<SoundErrorText> {
    static constexpr auto rows = std::to_array<TextRow>({
#define TARN_TEXT(key, english, chinese) {#key, english, chinese},
#include "SoundErrorTexts.h"
#undef TARN_TEXT
    });
};

}  // namespace tarn
