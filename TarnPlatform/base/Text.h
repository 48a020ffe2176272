#pragma once

#include <initializer_list>
#include <string>
#include <string_view>

namespace tarn {

// Texts in UTF-8, and numbers as text. Thread: any.

/// True for well-formed UTF-8: no stray, overlong or cut sequence, no surrogate, nothing above U+10FFFF.
bool isUtf8(std::string_view text);

/// The text with a space in the place of every control character (C0, DEL and C1), which a terminal would
/// obey.
std::string printable(std::string_view text);

/// The first `count` characters of a UTF-8 text, never half of one. Thread: any.
std::string_view firstCharacters(std::string_view text, std::size_t count);

/// `pattern` with "%1" to "%9" replaced by the arguments, as far as there are so many. What is put in may
/// come from anywhere: control characters in it become spaces.
std::string filledText(std::string_view pattern, std::initializer_list<std::string_view> arguments);

/// The shortest decimal form, without an exponent, that reads back as the same number; it always shows a
/// fractional part: 48000 gives "48000.0". Infinities give "inf" and "-inf", NaN gives "nan".
/// Independent of the locale.
std::string decimalText(double value);

}  // namespace tarn
