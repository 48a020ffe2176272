#include "Printable.h"

namespace tarn {

std::string printable(std::string_view text) {
    std::string clean;
    clean.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
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
        const bool startsCharacter = (static_cast<unsigned char>(text[end]) & 0xC0U) != 0x80U;
        if (startsCharacter && count-- == 0) {
            break;
        }
    }
    return text.substr(0, end);
}

}  // namespace tarn
