#pragma once

#include <map>
#include <memory>
#include <optional>
#include <string>

#include "AudioSink.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/capture/CaptureService.h"

namespace tarn {

/// Starts captures of which those that hear the same, all applications or the same one, are one in the audio
/// server: the sound is received, converted and resampled once for all their sinks.
///
/// Each sink has a stream of its own, to be stopped like any other: the first starts the capture, a later one
/// hears from then on, the last to stop ends it. What ends the capture is told to every sink. A slow
/// sink does not hold up the others (see `SoundFanOut`).
///
/// Thread: the executor's, for the streams too, their end included. Owned by `shared_ptr`.
class SharedCaptures : public std::enable_shared_from_this<SharedCaptures> {
public:
    /// `service` outlives every stream.
    explicit SharedCaptures(SerialExecutor executor, CaptureService& service = CaptureService::shared())
        : executor_(std::move(executor)), service_(service) {}

    /// As `startSystemAudioCapture`, every look at what plays and every line of the log included.
    static Task<Result<std::shared_ptr<CaptureStream>>> start(std::shared_ptr<SharedCaptures> self,
                                                              std::shared_ptr<AudioSink> into,
                                                              std::optional<std::string> bundleID);

private:
    class Source;
    class Share;

    std::shared_ptr<Source> sourceOf(const std::string& bundleID, const ContentFilter& filter);
    void forget(const std::string& bundleID, const Source& source);

    const SerialExecutor executor_;
    CaptureService& service_;
    std::map<std::string, std::shared_ptr<Source>> sources_;  // by bundle identifier; "": all
};

}  // namespace tarn
