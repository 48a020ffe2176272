#pragma once

#include <string_view>

namespace tarn {

/// True for well-formed UTF-8: no stray, overlong or cut sequence, no surrogate, nothing above U+10FFFF.
bool isUtf8(std::string_view text);

}  // namespace tarn
