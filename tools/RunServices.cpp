#include "RunServices.h"

#include <cstdlib>
#include <utility>

#include "SilentEngine.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnApp/session/ResumedStreams.h"
#include "TarnPlatform/secrets/MemorySecretStore.h"

namespace tarn::cli {
namespace {

class AlwaysAllowed final : public ScreenCaptureAccess {
public:
    bool preflight() override { return true; }
    bool request() override { return true; }
};

Task<Result<std::vector<AudioCapableApp>>> noApps() {
    co_return std::vector<AudioCapableApp>();
}

}  // namespace

ViewModelServices runServices(SerialExecutor main, const DeploymentValues& deployment,
                              const ConnectionWishes& wishes) {
    ViewModelServices services = ViewModelServices::real(std::move(main));
    services.defaults = UserDefaults::inMemory();
    services.recordFolder.clear();
    services.credentials = Credentials::real(services.session.main, deployment);
    services.makeServerClient = [deployment, wishes, workers = services.session.workers](PatProvider pat) {
        return withResumedStreams(
            TarnServerClientFactory::make(deployment, std::move(pat)), deployment,
            [wishes] { return wishes; }, workers);
    };
    services.webBase = deployment.webBase;
    services.mayOpenSignInPage = [deployment] { return Deployment::mayOpenPage(deployment); };
    services.session.lastTextLimit = {};               // a run waits for them before it stops its sessions
    services.session.log = [](const std::string&) {};  // the run prints these lines itself
    // The command line shows neither list.
    services.inputs = [] { return std::vector<AudioInputDevice>(); };
    services.availableApps = noApps;
    return services;
}

void useTokenOfEnvironment(const DeploymentValues& deployment) {
    const char* const token = std::getenv("TARN_TOKEN");
    if (token != nullptr && *token != '\0') {
        Keychain::useStore(std::make_shared<MemorySecretStore>());
        Keychain::set(token, Keychain::Account::pat);
        Keychain::set(Credentials::originOf(deployment.apiBase), Keychain::Account::server);
    }
}

std::shared_ptr<AudioPlayer> silentPlayer() {
    return std::make_shared<AudioPlayer>(makeSilentEngine());
}

std::shared_ptr<ScreenCaptureAccess> alwaysAllowed() {
    return std::make_shared<AlwaysAllowed>();
}

void leaveOutLinesOfTheEnd() {
    leaveOutOfLog([](std::string_view line) {
        return line.starts_with("[qwen] recv ended: ") || line.starts_with("[qwen] server error ");
    });
}

}  // namespace tarn::cli
