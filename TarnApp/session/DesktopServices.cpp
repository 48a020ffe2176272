// The desktop's own services behind the seams of sessions and view model.
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>

#include "ResumedStreams.h"
#include "SessionServices.h"
#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnCore/audio/AudioApps.h"
#include "TarnCore/audio/SharedCaptures.h"
#include "TarnCore/audio/SharedMicrophones.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/base/PreferredLanguages.h"
#include "TarnPlatform/base/UserFolders.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"
#include "TarnPlatform/engine/SoundWatch.h"
#include "TarnPlatform/process/OwnProcess.h"
#include "TranslateViewModel.h"

namespace tarn {
namespace {

/// As many as there can be sessions, so that none waits for another's audio server call.
asio::thread_pool& workerPool() {
    static asio::thread_pool pool(TranslateViewModel::mostSessions);
    return pool;
}

SessionFaults faultsOf(const MissingSound& missing) {
    SessionFaults faults;
    for (const auto& [isMissing, fault] : {std::pair(missing.server, SessionFault::soundServerGone),
                                           {missing.manager, SessionFault::soundManagerGone},
                                           {missing.microphone, SessionFault::microphoneGone},
                                           {missing.output, SessionFault::outputGone}}) {
        if (isMissing) {
            faults.try_emplace(fault);
        }
    }
    return faults;
}

std::shared_ptr<void> watchDesktopSound(SoundInUse used, std::function<void(SessionFaults)> changed) {
    std::optional<SoundWatch::Microphone> microphone;
    if (used.microphone) {
        microphone.emplace(std::move(used.microphoneUID));
    }
    const auto tell = [changed = std::move(changed)](const MissingSound& missing) {
        changed(faultsOf(missing));
        if (missing == MissingSound()) {
            // Streams that are set up anew leave much behind that was needed for a moment.
            asio::post(workerPool(), giveFreeMemoryBack);
        }
    };
    return std::make_shared<SoundWatch>(AudioServer::shared(), std::move(microphone), tell);
}

// Nobody forbids the microphone here, but without an audio server there is none.
AuthorizationStatus desktopMicrophone() {
    return AudioServer::shared().reach() ? MicPermission::status() : AuthorizationStatus::notDetermined;
}

Task<bool> askForDesktopMicrophone() {
    if (!AudioServer::shared().reach()) {
        co_return false;
    }
    auto question = MicPermission::request();
    co_return co_await std::move(question);
}

/// Beside the program as it is installed, or else as it is built.
std::filesystem::path installedHelp() {
    const std::filesystem::path program = SchemeRegistration::runningProgram().value_or("/usr/bin/tarn");
    const auto installed = program.parent_path() / "../share/doc/tarn/troubleshooting.md";
    const auto built = program.parent_path() / "../../../docs/troubleshooting.md";
    std::error_code unreadable;
    const bool isBuilt =
        !std::filesystem::exists(installed, unreadable) && std::filesystem::exists(built, unreadable);
    return (isBuilt ? built : installed).lexically_normal();
}

}  // namespace

SessionServices SessionServices::real(SerialExecutor main) {
    SessionServices services;
    services.main = std::move(main);
    services.workers = workerPool().get_executor();
    services.clock = Clock::system();
    services.microphoneStatus = desktopMicrophone;
    services.requestMicrophone = askForDesktopMicrophone;
    services.screenCapture = ScreenCaptureAccess::desktop();
    services.urlOpener = UrlOpener::desktop();
    services.makePlayer = [] { return std::make_shared<AudioPlayer>(); };
    services.makeMicSession = [microphones = std::make_shared<SharedMicrophones>()] {
        return std::make_shared<MicSession>(MicSession::Parts{.engine = microphones->makeEngine()});
    };
    services.startCapture = [captures = std::make_shared<SharedCaptures>(services.main)](
                                std::shared_ptr<AudioSink> sink, std::optional<std::string> bundleID) {
        return SharedCaptures::start(captures, std::move(sink), std::move(bundleID));
    };
    services.watchSound = watchDesktopSound;
    return services;
}

ViewModelServices ViewModelServices::real(SerialExecutor main) {
    ViewModelServices services;
    services.session = SessionServices::real(std::move(main));
    services.defaults = UserDefaults::standard();
    const auto& deployment = Deployment::current();
    const auto values = deployment.value_or(DeploymentValues());
    services.credentials = Credentials::real(services.session.main, values);
    services.makeServerClient = [values, defaults = services.defaults,
                                 workers = services.session.workers](PatProvider pat) {
        return withResumedStreams(
            TarnServerClientFactory::make(values, std::move(pat)), values,
            [defaults] { return ConnectionWishes::in(*defaults); }, workers);
    };
    services.inputs = [] { return AudioDevices::inputs(); };
    services.availableApps = [] { return availableAudioApps(); };
    services.recordFolder = UserFolders::data() / "tarn" / "records";
    services.helpFile = installedHelp();
    services.preferredLanguages = [] { return tarn::preferredLanguages(); };
    if (deployment) {
        services.webBase = deployment->webBase;
        services.mayOpenSignInPage = [values = *deployment] { return Deployment::mayOpenPage(values); };
        services.signInProviders = deployment->signInProviders;
        services.issuesPage = deployment->issuesPage;
    }
    return services;
}

}  // namespace tarn
