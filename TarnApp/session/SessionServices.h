#pragma once

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SessionHealth.h"
#include "TarnApp/server/Credentials.h"
#include "TarnApp/server/TarnServerClient.h"
#include "TarnCore/audio/AudioApps.h"
#include "TarnCore/audio/AudioDevices.h"
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
#include "TarnPlatform/net/Url.h"
#include "TarnPlatform/settings/UserDefaults.h"

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
    /// A stop waits no longer than this for the texts of what was said before it.
    std::chrono::milliseconds lastTextLimit{1500};
    WatchSound watchSound = [](auto&&...) { return nullptr; };

    /// The desktop's own, with `main` as the main thread.
    static SessionServices real(SerialExecutor main);
};

/// What the application state needs of its surroundings. A test puts its own in place.
struct ViewModelServices {
    SessionServices session;
    std::shared_ptr<UserDefaults> defaults;
    std::shared_ptr<Credentials> credentials;
    std::function<std::shared_ptr<TarnServerClient>(PatProvider)> makeServerClient;
    std::function<std::vector<AudioInputDevice>()> inputs;  ///< called on the workers, which it may block
    std::function<Task<Result<std::vector<AudioCapableApp>>>()> availableApps;
    std::optional<Url> webBase;  ///< root of the web site with the sign-in page; nothing: not known
    std::function<Result<void>()>
        mayOpenSignInPage;  ///< fails where that page is another user's; may be empty
    std::function<std::vector<std::string>()> preferredLanguages;  ///< of the user; nothing: not asked
    std::vector<std::string> signInProviders;  ///< that page's, where somebody has told: "email", "google", …
    std::optional<Url> issuesPage;             ///< the issue tracker; nothing where none is configured
    std::filesystem::path recordFolder;        ///< of what was said; empty: none is kept
    std::filesystem::path helpFile;            ///< what to read where there is none

    /// The desktop's own and the process's deployment values, with `main` as the main thread.
    static ViewModelServices real(SerialExecutor main);
};

}  // namespace tarn
