#include "Keychain.h"

#include <utility>

#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/secrets/SecretStores.h"

namespace tarn {
namespace {

Keychain::Status statusOf(SecretFault fault) {
    switch (fault) {
        case SecretFault::locked:
            return Keychain::interactionNotAllowed;
        case SecretFault::unavailable:
            return Keychain::notAvailable;
        case SecretFault::timedOut:
            return Keychain::timedOut;
        case SecretFault::refused:
            break;
    }
    return Keychain::io;
}

/// This program stores only UTF-8, so other values are as if they were not there.
SecretResult<std::optional<std::string>> asText(SecretResult<std::optional<std::string>> found) {
    if (found && *found && !isUtf8(**found)) {
        return std::nullopt;
    }
    return found;
}

}  // namespace

std::string_view Keychain::accountString(Account account) {
    switch (account) {
        case Account::pat:
            return "pat";
        case Account::userEmail:
            return "user_email";
        case Account::server:
            break;
    }
    return "server";
}

SecretKey Keychain::keyOf(Account account) {
    return {"com.ostrel.tarn", std::string(accountString(account))};
}

std::optional<std::string> Keychain::get(Account account) {
    return read(account).value_or(std::nullopt);
}

SecretResult<std::optional<std::string>> Keychain::read(Account account) {
    return asText(sharedSecretStore()->get(keyOf(account)));
}

SecretResult<std::optional<std::string>> Keychain::peek(Account account) {
    return asText(sharedSecretStore()->peek(keyOf(account)));
}

bool Keychain::set(std::string_view value, Account account) {
    if (!isUtf8(value)) {
        return false;
    }
    const auto stored = sharedSecretStore()->replace(keyOf(account), value);
    if (!stored) {
        logLine("[Keychain] SecItemAdd failed for " + std::string(accountString(account)) + ": " +
                std::to_string(statusOf(stored.error().fault)));
        return false;
    }
    return true;
}

bool Keychain::remove(Account account) {
    const auto removed = sharedSecretStore()->remove(keyOf(account));
    const int status = !removed ? statusOf(removed.error().fault) : *removed ? success : itemNotFound;
    return status == success || status == itemNotFound;
}

void Keychain::useStore(std::shared_ptr<SecretStore> store) {
    setSharedSecretStore(std::move(store));
}

}  // namespace tarn
