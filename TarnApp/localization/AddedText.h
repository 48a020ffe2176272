#pragma once

#include <array>
#include <cstdint>

#include "AppLanguage.h"

namespace tarn {

// moc takes no enumeration that is made of two files.
#ifndef Q_MOC_RUN
/// The texts of the interface beyond those of `LocKey`.
enum class AddedText : std::uint8_t {
#define TARN_TEXT(key, english, chinese) key,
#include "AddedTexts.h"
#include "HealthTexts.h"
#undef TARN_TEXT
};

template <>
struct TextTable<AddedText> {
    static constexpr auto rows = std::to_array<TextRow>({
#define TARN_TEXT(key, english, chinese) {#key, english, chinese},
#include "AddedTexts.h"
#include "HealthTexts.h"
#undef TARN_TEXT
    });
};
#endif

}  // namespace tarn
