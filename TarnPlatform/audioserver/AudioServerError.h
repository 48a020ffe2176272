#pragma once

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// The domain of the errors below, whose codes are these.
inline constexpr const char* audioServerDomain = "audioserver";
enum class AudioServerFault : int { absent = 1, silent, managerAbsent };

/// Nobody listens at the server's address.
std::unexpected<Error> audioServerAbsent();
/// It listens and says nothing within `AudioServer::answerLimit`.
std::unexpected<Error> audioServerSilent();
/// The server answers, but nobody gives our streams the ports that sound goes through.
std::unexpected<Error> sessionManagerAbsent();

}  // namespace tarn
