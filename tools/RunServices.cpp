#include "RunServices.h"

#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>

#include "SilentEngine.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/server/TarnServerClientFactory.h"

namespace tarn::cli {
namespace {

class AlwaysAllowed final : public ScreenCaptureAccess {
public:
    bool preflight() override { return true; }
    bool request() override { return true; }
};

/// Secrets that end with the process.
class MemoryStore final : public SecretStore {
public:
    SecretResult<std::optional<std::string>> get(const SecretKey& key) override {
        const std::lock_guard lock(mutex_);
        const auto found = secrets_.find({key.service, key.account});
        return found == secrets_.end() ? std::nullopt : std::optional(found->second);
    }
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override {
        const std::lock_guard lock(mutex_);
        secrets_[{key.service, key.account}] = value;
        return {};
    }
    SecretResult<bool> remove(const SecretKey& key) override {
        const std::lock_guard lock(mutex_);
        return secrets_.erase({key.service, key.account}) > 0;
    }

private:
    std::mutex mutex_;
    std::map<std::pair<std::string, std::string>, std::string> secrets_;
};

Task<Result<std::vector<AudioCapableApp>>> noApps() {
    co_return std::vector<AudioCapableApp>();
}

}  // namespace

ViewModelServices runServices(SerialExecutor main, const DeploymentValues& deployment) {
    ViewModelServices services = ViewModelServices::real(std::move(main));
    services.defaults = UserDefaults::inMemory();
    services.makeServerClient = [deployment] { return TarnServerClientFactory::make(deployment); };
    services.webBase = deployment.webBase;
    // No list is shown.
    services.inputs = [] { return std::vector<AudioInputDevice>(); };
    services.availableApps = noApps;
    return services;
}

void useTokenOfEnvironment() {
    const char* const token = std::getenv("TARN_TOKEN");
    if (token != nullptr && *token != '\0') {
        Keychain::useStore(std::make_shared<MemoryStore>());
        Keychain::set(token, Keychain::Account::pat);
    }
}

std::shared_ptr<AudioPlayer> silentPlayer() {
    return std::make_shared<AudioPlayer>(makeSilentEngine());
}

std::shared_ptr<ScreenCaptureAccess> alwaysAllowed() {
    return std::make_shared<AlwaysAllowed>();
}

}  // namespace tarn::cli
