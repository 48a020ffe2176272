#pragma once

#include <string>
#include <vector>

#include "TextTable.h"

namespace tarn {

/// The user's languages, the most wanted first, as the environment orders them: the colon list of `LANGUAGE`
/// where there is one, else the first of `LC_ALL`, `LC_MESSAGES` and `LANG` that is set. Each without its
/// codeset and modifier ("zh_CN.UTF-8" gives "zh_CN"). Empty where the locale is "C" or "POSIX" or where none
/// is set; `LANGUAGE` counts for nothing then, as for gettext. Thread: any, while no other changes the
/// environment.
std::vector<std::string> preferredLanguages();

/// Chinese where the first of the preferred languages is a Chinese one; English otherwise.
TextLanguage preferredTextLanguage();

}  // namespace tarn
