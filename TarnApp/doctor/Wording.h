#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

#include "TarnPlatform/base/TextTable.h"

namespace tarn {

/// What the checks can say.
enum class DoctorText : std::uint8_t {
#define TARN_TEXT(key, english, chinese) key,
#include "DoctorTexts.h"
#undef TARN_TEXT
};

template <>
struct TextTable<DoctorText> {
    static constexpr auto rows = std::to_array<TextRow>({
#define TARN_TEXT(key, english, chinese) {#key, english, chinese},
#include "DoctorTexts.h"
#undef TARN_TEXT
    });
};

/// Texts in one language. What is filled in may come from anywhere: a terminal does not obey it. Value type.
class Wording {
public:
    explicit Wording(TextLanguage language) : language_(language) {}

    template <typename Key>
    std::string operator()(Key key, std::initializer_list<std::string_view> arguments = {}) const {
        return text(key, language_, arguments);
    }

private:
    TextLanguage language_;
};

}  // namespace tarn
