#pragma once

#include <map>
#include <string>
#include <string_view>

#include "TarnPlatform/base/Result.h"

namespace tarn::relay {

/// Names and values, decoded.
using FormFields = std::map<std::string, std::string, std::less<>>;

/// Reads name-value pairs as "application/x-www-form-urlencoded" has them ("+" is a space), which is also how
/// the query of a page is written. Fails with `invalidInput`: broken percent-encoding, a name that comes
/// twice, or more than 16 pairs.
Result<FormFields> parseForm(std::string_view text);

/// Whether a "Content-Type" names such a body; parameters ("; charset=UTF-8") do not matter.
bool isFormType(std::string_view contentType);

}  // namespace tarn::relay
