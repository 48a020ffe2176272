#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <string_view>

#include "AppLanguage.h"

namespace tarn {

/// Every text of the interface has one of these keys, and no other wording is shown. The texts are in
/// LocTexts.h.
enum class LocKey : std::uint8_t {
#define TARN_TEXT(key, english, chinese) key,
#include "LocTexts.h"
#undef TARN_TEXT
};

inline constexpr std::array allLocKeys{
#define TARN_TEXT(key, english, chinese) LocKey::key,
#include "LocTexts.h"
#undef TARN_TEXT
};

/// UTF-8.
std::string text(LocKey key, AppLanguage::Value language);

/// In the language of the interface: the stored preference, which is read afresh on every call. Thread: any.
std::string text(LocKey key);

/// `text` with `argument` in the place of its "%@".
std::string filled(std::string_view text, std::string_view argument);

}  // namespace tarn
