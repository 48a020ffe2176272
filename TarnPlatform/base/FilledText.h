#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tarn {

/// `pattern` with "%1" to "%9" replaced by the arguments, as far as there are so many. What is put in may
/// come from anywhere: control characters in it become spaces. UTF-8. Thread: any.
std::string filledText(std::string_view pattern, std::initializer_list<std::string_view> arguments);

}  // namespace tarn
