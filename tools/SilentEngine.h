#pragma once

#include <memory>

#include "TarnPlatform/engine/AudioEngine.h"

namespace tarn::cli {

/// An engine that needs no audio server: nothing is captured, and what is to be played is never asked for.
std::unique_ptr<AudioEngine> makeSilentEngine();

}  // namespace tarn::cli
