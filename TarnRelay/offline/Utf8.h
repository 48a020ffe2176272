#pragma once

#include <string_view>

namespace tarn::relay {

/// True for well-formed UTF-8.
bool isUtf8(std::string_view text);

}  // namespace tarn::relay
