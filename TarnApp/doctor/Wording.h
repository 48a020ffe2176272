#pragma once

#include <cstdint>
#include <initializer_list>
#include <string>
#include <string_view>

namespace tarn {

#define TARN_DOCTOR_TEXT(key, english, chinese) key,
/// What the checks can say.
enum class DoctorText : std::uint8_t {
#include "DoctorTextTable.h"
};
#undef TARN_DOCTOR_TEXT

/// The texts in one language. Value type.
class Wording {
public:
    enum class Language : std::uint8_t { english, chinese };

    explicit Wording(Language language) : language_(language) {}

    /// With "%1" and "%2" replaced. What is put in may come from anywhere: control characters, which a
    /// terminal would obey, become spaces.
    std::string operator()(DoctorText text, std::initializer_list<std::string_view> arguments = {}) const;

private:
    Language language_;
};

/// The name of a check in its column.
DoctorText shownName(std::string_view checkName);

}  // namespace tarn
