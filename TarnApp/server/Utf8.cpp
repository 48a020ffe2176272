#include "Utf8.h"

#include <cstddef>
#include <cstdint>

namespace tarn {

bool isValidUtf8(std::string_view bytes) {
    while (!bytes.empty()) {
        const auto first = static_cast<std::uint8_t>(bytes.front());
        if (first < 0x80) {
            bytes.remove_prefix(1);
            continue;
        }
        const std::size_t length = first < 0xC2   ? 0
                                   : first < 0xE0 ? 2
                                   : first < 0xF0 ? 3
                                   : first < 0xF5 ? 4
                                                  : 0;
        if (length == 0 || bytes.size() < length) {
            return false;
        }
        // The second byte's range shuts out overlong forms, surrogates and what lies above U+10FFFF.
        const std::uint8_t low = first == 0xE0 ? 0xA0 : first == 0xF0 ? 0x90 : 0x80;
        const std::uint8_t high = first == 0xED ? 0x9F : first == 0xF4 ? 0x8F : 0xBF;
        const auto second = static_cast<std::uint8_t>(bytes[1]);
        if (second < low || second > high) {
            return false;
        }
        for (std::size_t i = 2; i < length; ++i) {
            if ((static_cast<std::uint8_t>(bytes[i]) & 0xC0U) != 0x80U) {
                return false;
            }
        }
        bytes.remove_prefix(length);
    }
    return true;
}

}  // namespace tarn
