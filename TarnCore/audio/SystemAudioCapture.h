#pragma once

#include <memory>
#include <optional>
#include <string>

#include "AudioSink.h"
#include "TarnPlatform/capture/CaptureService.h"

namespace tarn {

/// Errors of starting a capture that are ours have this domain and one of these codes; those of the desktop
/// pass through as they are.
inline constexpr const char* captureErrorDomain = "tarn";
enum class CaptureErrorCode : int {
    noDisplay = 1,    ///< there is no output to capture
    appNotFound = 2,  ///< the chosen application does not play
};

/// Starts a capture into `into` and returns it running: of every application but this one, or of the one with
/// this bundle ID alone (empty counts as none). The caller ends it with `stopCapture`.
/// Thread: any executor, which is never blocked; `service` must outlive the capture.
Task<Result<std::shared_ptr<CaptureStream>>> startSystemAudioCapture(
    std::shared_ptr<AudioSink> into, std::optional<std::string> restrictedToBundleID,
    CaptureService& service = CaptureService::shared());

// Its two halves, for whoever shares one capture among several sinks.

/// What a capture of this kind is to hear: the first half.
Task<Result<ContentFilter>> captureFilter(std::string bundleID, CaptureService& service);

/// The second: a running capture of that. `queue` is where `output` is called.
Task<Result<std::shared_ptr<CaptureStream>>> startCapture(ContentFilter filter,
                                                          std::shared_ptr<StreamOutput> output,
                                                          std::weak_ptr<StreamDelegate> delegate,
                                                          std::shared_ptr<SerialQueue> queue,
                                                          CaptureService& service);

}  // namespace tarn
