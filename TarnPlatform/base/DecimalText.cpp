#include "DecimalText.h"

#include <array>
#include <charconv>
#include <cmath>

namespace tarn {

std::string decimalText(double value) {
    if (std::isnan(value)) {
        return "nan";
    }
    // Enough for the smallest number: a sign, "0.", 323 zeros and 17 digits.
    std::array<char, 400> text;
    const auto written =
        std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed);
    std::string result(text.data(), written.ptr);
    if (!std::isinf(value) && result.find('.') == std::string::npos) {
        result += ".0";
    }
    return result;
}

}  // namespace tarn
