#pragma once

#include <atomic>
#include <chrono>
#include <mutex>
#include <optional>

#include "SecretStore.h"

namespace tarn {

/// Who answers for secrets on the session bus.
enum class SecretServicePresence : std::uint8_t {
    owned,        ///< a service runs
    activatable,  ///< the bus can start one
    absent,       ///< the bus answers and knows none
    noBus,        ///< there is no session bus to ask
    unanswered,   ///< the bus itself did not answer within the limit
};

/// Secrets in the desktop's keyring (GNOME Keyring, KWallet and their like), under the schema
/// "com.ostrel.tarn" with the attributes "service" and "account".
///
/// Each call makes its own connection to the session bus and leaves nothing behind, so that a keyring that is
/// started again is simply found again. A service that hangs, or a bus that does, holds a caller for `limit`
/// at most; the limit does not run while the desktop's own prompt waits for its user. A locked keyring is
/// asked to unlock, which shows that prompt; once it was dismissed, reading does not bring it up again, while
/// storing and removing do. Where nobody can show a prompt the keyring dismisses it by itself.
class SecretServiceStore final : public SecretStore {
public:
    static constexpr std::chrono::milliseconds defaultLimit = std::chrono::seconds(3);

    explicit SecretServiceStore(std::chrono::milliseconds limit = defaultLimit) : limit_(limit) {}

    SecretResult<std::optional<std::string>> get(const SecretKey& key) override;
    SecretResult<void> replace(const SecretKey& key, std::string_view value) override;
    SecretResult<bool> remove(const SecretKey& key) override;

    /// Says nothing on standard error.
    SecretResult<std::optional<std::string>> peek(const SecretKey& key) override;
    /// Whether the keyring that secrets go to is closed; never shows a prompt. A keyring that was never used
    /// is not.
    SecretResult<bool> isLocked() const;

    /// Asks the bus about names only: never starts a service, never speaks to one. Thread: any.
    static SecretServicePresence presence(std::chrono::milliseconds limit = defaultLimit);

private:
    /// Says on standard error when the store's condition changes for the worse, once per change.
    template <typename T>
    SecretResult<T> report(SecretResult<T> result);

    const std::chrono::milliseconds limit_;
    std::atomic<bool> promptDismissed_{false};
    std::mutex reportMutex_;
    std::optional<SecretFault> reported_;
};

}  // namespace tarn
