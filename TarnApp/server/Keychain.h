#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "TarnPlatform/secrets/SecretStore.h"

namespace tarn {

/// The only place where the access token, its server and the signed-in user's e-mail address are kept, under
/// the service "com.ostrel.tarn". "Signed in" means that there is a `pat`. No failure reaches the user from
/// here. Thread: any. The functions wait for the desktop's keyring: 3 s at most, unless its own prompt is up.
class Keychain {
public:
    enum class Account : std::uint8_t {
        pat,        ///< "pat": the access token
        userEmail,  ///< "user_email"
        server,     ///< "server": the one that issued the token
    };

    /// The outcome of an operation, as it is written in the log line of `set`.
    enum Status : int {
        success = 0,
        io = -36,                       ///< the store refused, or is damaged
        timedOut = -60,                 ///< the keyring is there and does not answer
        notAvailable = -25291,          ///< no keyring answers
        itemNotFound = -25300,          ///< there is no such item
        interactionNotAllowed = -25308  ///< the keyring is locked
    };

    /// Nothing when there is no such item, it cannot be had, or it is not text in UTF-8.
    static std::optional<std::string> get(Account account);

    /// As `get`, with the reason where it cannot be had.
    static SecretResult<std::optional<std::string>> read(Account account);
    /// As `read`, without ever asking the user to unlock anything.
    static SecretResult<std::optional<std::string>> peek(Account account);

    /// Stores `value` in place of what was there. False, and a line on standard error, when that failed.
    static bool set(std::string_view value, Account account);

    /// True when there is no such item any more, also when there was none.
    static bool remove(Account account);

    static std::string_view accountString(Account account);
    /// Under which it is kept in a store.
    static SecretKey keyOf(Account account);

    /// Uses `store` from now on; none: the desktop's own, chosen on the next use.
    static void useStore(std::shared_ptr<SecretStore> store);
};

}  // namespace tarn
