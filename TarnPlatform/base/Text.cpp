#include "Text.h"

#include <array>
#include <boost/locale/utf.hpp>
#include <charconv>
#include <cmath>

namespace tarn {

bool isUtf8(std::string_view text) {
    const auto* at = text.data();
    const auto* const end = at + text.size();
    while (at != end) {
        if (!boost::locale::utf::is_valid_codepoint(boost::locale::utf::utf_traits<char>::decode(at, end))) {
            return false;
        }
    }
    return true;
}

std::string printable(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        // C1, U+0080 to U+009F, is 0xC2 and a byte below 0xA0 in UTF-8.
        const bool isC1 =
            byte == 0xC2U && i + 1 < text.size() && static_cast<unsigned char>(text[i + 1]) < 0xA0U;
        if (isC1) {
            ++i;
        }
        clean.push_back(isC1 || byte < 0x20U || byte == 0x7FU ? ' ' : text[i]);
    }
    return clean;
}

std::string_view firstCharacters(std::string_view text, std::size_t count) {
    std::size_t end = 0;
    for (; end < text.size(); ++end) {
        // All bytes of a character but its first are 10xxxxxx.
        const bool startsCharacter = (static_cast<unsigned char>(text[end]) & 0xC0U) != 0x80U;
        if (startsCharacter && count-- == 0) {
            break;
        }
    }
    return text.substr(0, end);
}

std::string filledText(std::string_view pattern, std::initializer_list<std::string_view> arguments) {
    std::string filled;
    for (std::size_t i = 0; i < pattern.size(); ++i) {
        const auto number = pattern[i] == '%' && i + 1 < pattern.size()
                                ? static_cast<std::size_t>(pattern[i + 1] - '1')
                                : arguments.size();
        if (number < arguments.size()) {
            filled += printable(arguments.begin()[number]);
            ++i;
        } else {
            filled += pattern[i];
        }
    }
    return filled;
}

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
