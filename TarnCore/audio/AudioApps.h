#pragma once

#include <vector>

#include "AudioCapableApp.h"
#include "TarnPlatform/capture/CaptureService.h"

namespace tarn {

/// The applications that can be chosen as a source, each once, in the order of their names as the user's
/// language has it. This one is among them while it plays. Fails where the desktop cannot be asked.
/// Thread: any executor, which is never blocked.
Task<Result<std::vector<AudioCapableApp>>> availableAudioApps(
    CaptureService& service = CaptureService::shared());

}  // namespace tarn
