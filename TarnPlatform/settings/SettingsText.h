#pragma once

#include <boost/json/object.hpp>
#include <string>
#include <string_view>

#include "TarnPlatform/base/Result.h"

namespace tarn {

// The text of a settings file: one JSON object, with one key on a line. What is written reads back as the
// same object, with each number of the same type, and fractions of 15 significant digits. Thread: any.

std::string settingsText(const boost::json::object& values);

/// Fails with `invalidInput` for anything but one JSON object of strict syntax.
Result<boost::json::object> parseSettings(std::string_view text);

}  // namespace tarn
