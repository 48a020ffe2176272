#pragma once

#include <string>

#include "TarnCore/audio/MicError.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// Why, in one short sentence. Otherwise as below.
std::string shownCause(const Error& error, const std::string& application = {});

/// What the user is told of a failure to hear or to speak, in the language of the interface, with what to do
/// where that is known. `application`: the one that was to be heard. Thread: any.
std::string shownText(const Error& error, const std::string& application = {});
std::string shownText(const MicError& error);

}  // namespace tarn
