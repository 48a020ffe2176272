#pragma once

#include <chrono>

#include "TarnPlatform/process/ChildConversation.h"

namespace tarn::relay {

/// How long a command of the user's own may take: big models load slowly, but nobody waits longer than this
/// for a sentence.
inline constexpr AnswerLimits commandLimits{.first = std::chrono::seconds(60),
                                            .later = std::chrono::seconds(10)};

}  // namespace tarn::relay
