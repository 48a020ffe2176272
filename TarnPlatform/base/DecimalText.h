#pragma once

#include <string>

namespace tarn {

/// The shortest decimal form, without an exponent, that reads back as the same number; it always shows a
/// fractional part: 48000 gives "48000.0". Infinities give "inf" and "-inf", NaN gives "nan".
/// Independent of the locale. Thread: any.
std::string decimalText(double value);

}  // namespace tarn
