#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace tarn {

inline constexpr std::size_t longestToken = 8192;  ///< bytes

/// Whether `text` can be an access token: visible ASCII characters, as a header line can carry them.
inline bool canBeToken(std::string_view text) {
    return !text.empty() && text.size() <= longestToken &&
           std::ranges::all_of(text, [](unsigned char c) { return c > 0x20 && c < 0x7F; });
}

}  // namespace tarn
