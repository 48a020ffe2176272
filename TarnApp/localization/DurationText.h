#pragma once

#include <string>

#include "AppLanguage.h"

namespace tarn {

/// "8 s", "1 min 20 s", "3 min", "1 h 5 min": whole seconds, one at least, and from an hour on whole minutes.
std::string durationText(double seconds, AppLanguage::Value language);

/// What stands among subtitles for sound that was never translated: "[1 min 20 s not translated]".
std::string notTranslatedText(double seconds, AppLanguage::Value language);

}  // namespace tarn
