#include "LocKey.h"

#include <array>
#include <cstddef>

#include "LanguagePreference.h"

namespace tarn {
namespace {

using Table = std::array<std::string_view, allLocKeys.size()>;

constexpr Table english{
#define TARN_TEXT(key, english, chinese) english,
#include "LocTexts.h"
#undef TARN_TEXT
};

constexpr Table chinese{
#define TARN_TEXT(key, english, chinese) chinese,
#include "LocTexts.h"
#undef TARN_TEXT
};

}  // namespace

std::string text(LocKey key, AppLanguage::Value language) {
    const auto& table = language == AppLanguage::zh ? chinese : english;
    return std::string(table[static_cast<std::size_t>(key)]);
}

std::string text(LocKey key) {
    return text(key, LanguagePreference::stored().appLanguage());
}

std::string filled(std::string_view text, std::string_view argument) {
    static constexpr std::string_view placeholder = "%@";
    std::string result(text);
    if (const auto at = result.find(placeholder); at != std::string::npos) {
        result.replace(at, placeholder.size(), argument);
    }
    return result;
}

}  // namespace tarn
