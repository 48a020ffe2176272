#include "SecretStores.h"

#include <mutex>
#include <string>

#include "FileSecretStore.h"
#include "MemorySecretStore.h"
#include "SecretServiceStore.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/UserFolders.h"
#include "TarnPlatform/bus/CallLimit.h"

namespace tarn {
namespace {

struct CurrentStore {
    std::mutex mutex;
    std::shared_ptr<SecretStore> store;
};

CurrentStore& currentStore() {
    // Never destroyed: the last sign-out may come while the process ends.
    static auto* const current = new CurrentStore;
    return *current;
}

}  // namespace

std::filesystem::path secretsFolder() {
    return UserFolders::data() / UserFolders::ownName;
}

std::shared_ptr<SecretStore> openSecretStore(const std::filesystem::path& folder) {
    std::string reason;
    switch (SecretServiceStore::presence()) {
        case SecretServicePresence::absent:
            reason = "no keyring on the session bus";
            break;
        case SecretServicePresence::noBus:
            reason = "no session bus to find a keyring on";
            break;
        default:
            // A bus that does not answer may have a keyring, so it counts as one that has.
            return std::make_shared<SecretServiceStore>();
    }
    logLine("[secrets] " + reason + "; the sign-in is kept in files in " + folder.string());
    return std::make_shared<FileSecretStore>(folder);
}

std::shared_ptr<SecretStore> sharedSecretStore() {
    auto& current = currentStore();
    const std::lock_guard lock(current.mutex);
    if (!current.store) {
        current.store = std::make_shared<LastingSecretStore>(openSecretStore());
    }
    return current.store;
}

void giveUpPrompts() {
    CallLimit::endPrompts();
}

void setSharedSecretStore(std::shared_ptr<SecretStore> store) {
    auto& current = currentStore();
    const std::lock_guard lock(current.mutex);
    current.store = std::move(store);
}

}  // namespace tarn
