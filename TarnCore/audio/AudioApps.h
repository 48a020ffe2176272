#pragma once

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

#include "TarnPlatform/capture/CaptureService.h"

namespace tarn {

/// An application that can be chosen as a source. Value type; its identity is `bundleID`.
struct AudioCapableApp {
    std::string bundleID;  ///< never empty
    std::string name;      ///< for people, never empty

    const std::string& id() const { return bundleID; }

    bool operator==(const AudioCapableApp&) const = default;
};

}  // namespace tarn

template <>
struct std::hash<tarn::AudioCapableApp> {
    std::size_t operator()(const tarn::AudioCapableApp& app) const noexcept {
        const std::hash<std::string> textHash;
        return textHash(app.bundleID) * 31 + textHash(app.name);
    }
};

namespace tarn {

/// The applications that can be chosen as a source, each once, in the order of their names as the user's
/// language has it. This one is among them while it plays. Fails where the desktop cannot be asked.
/// Thread: any executor, which is never blocked.
Task<Result<std::vector<AudioCapableApp>>> availableAudioApps(
    CaptureService& service = CaptureService::shared());

}  // namespace tarn
