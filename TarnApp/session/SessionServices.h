#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "SessionHealth.h"
#include "TarnCore/audio/AudioPlayer.h"
#include "TarnCore/audio/AudioSink.h"
#include "TarnCore/audio/MicPermission.h"
#include "TarnCore/audio/MicSession.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/capture/CaptureStream.h"
#include "TarnPlatform/desktop/ScreenCaptureAccess.h"
#include "TarnPlatform/desktop/UrlOpener.h"

namespace tarn {

/// What sessions need of their surroundings. Copies share what is behind it; a test puts its own in place.
struct SessionServices {
    SerialExecutor main;            ///< where every session and its observers live
    asio::any_io_executor workers;  ///< where starting and stopping sound may block
    std::shared_ptr<Clock> clock;

    std::function<AuthorizationStatus()> microphoneStatus;
    std::function<Task<bool>()> requestMicrophone;
    std::shared_ptr<ScreenCaptureAccess> screenCapture;
    std::shared_ptr<UrlOpener> urlOpener;

    std::function<std::shared_ptr<AudioPlayer>()> makePlayer;
    std::function<std::shared_ptr<MicSession>()> makeMicSession;
    std::function<Task<Result<std::shared_ptr<CaptureStream>>>(std::shared_ptr<AudioSink> sink,
                                                               std::optional<std::string> bundleID)>
        startCapture;
    std::function<void(const std::string& line)> log = [](const std::string& line) { logLine(line); };
    WatchSound watchSound = [](auto&&...) { return nullptr; };

    /// The desktop's own, with `main` as the main thread.
    static SessionServices real(SerialExecutor main);
};

}  // namespace tarn
