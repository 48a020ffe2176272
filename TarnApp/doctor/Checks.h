#pragma once

#include <chrono>

#include "CheckResult.h"
#include "Wording.h"

namespace tarn {

/// The checks themselves. Each looks at this process's own surroundings, changes nothing there, never asks
/// the user for anything and never says what a token is. Thread: any, each on one of its own, which it
/// blocks.
namespace Checks {

/// How long one thing that is asked may take.
inline constexpr std::chrono::milliseconds patience{2000};

/// Server, session manager, default devices, what can be captured, microphones.
void audio(const Wording& say, const Report& report);
/// The deployment, whether its server answers, its certificate, and what it says of the stored token.
void account(const Wording& say, const Report& report);
void proxy(const Wording& say, const Report& report);
void keyring(const Wording& say, const Report& report);
void display(const Wording& say, const Report& report);
void portals(const Wording& say, const Report& report);
void links(const Wording& say, const Report& report);
void fonts(const Wording& say, const Report& report);
void settings(const Wording& say, const Report& report);
void instance(const Wording& say, const Report& report);

}  // namespace Checks

}  // namespace tarn
