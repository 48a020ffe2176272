#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "PatProvider.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/net/Url.h"
#include "TarnPlatform/settings/UserDefaults.h"

namespace tarn {

/// The road of the access token between the keychain and who needs it. The keychain is only ever asked on a
/// worker; a token that was read or given once is in memory from then on, so that a keyring which is locked
/// or hangs later takes nothing away.
///
/// A token belongs to the server that issued it and is nothing for another one. One that was stored without a
/// server belongs to the configured deployment.
///
/// Thread: `main`, but for the static functions. Owned by `shared_ptr`; tasks of its own hold it.
class Credentials : public std::enable_shared_from_this<Credentials> {
public:
    /// How a server is written beside its token: scheme, host and port.
    static std::string originOf(const Url& url);

    /// `keyring`: a serial executor that may block. `isConfigured`: whether `server` is the deployment's own,
    /// to which a token without a server belongs. `settings`: keep what marks a token that was forgotten and
    /// could not be deleted yet.
    static std::shared_ptr<Credentials> make(
        SerialExecutor main, SerialExecutor keyring, std::string server, bool isConfigured = true,
        std::shared_ptr<UserDefaults> settings = UserDefaults::inMemory());
    /// Over a thread of the process's own, which ends, when the process does, with what it was given to do;
    /// prompts of the keyring are given up then.
    static std::shared_ptr<Credentials> real(SerialExecutor main, const DeploymentValues& deployment);

    /// From memory where there is one, else from the keychain, which may show the keyring's prompt.
    Task<TokenResult> token();
    PatProvider provider();
    /// What is in memory. Never waits.
    const std::optional<std::string>& heldToken() const { return token_; }
    /// The stored address of who is signed in. Nothing where it cannot be had.
    Task<std::optional<std::string>> email() { return email(shared_from_this()); }
    /// The server of the stored token where that is another one.
    const std::optional<std::string>& otherServer() const { return otherServer_; }

    // The same for who cannot await; called back on `main`.
    void tellToken(std::function<void(const TokenResult&)> receiver);
    void tellEmail(std::function<void(const std::optional<std::string>&)> receiver);

    /// Holds from now on; stored in the background. No `email`: what is stored of one goes.
    void signIn(std::string token, std::optional<std::string> email);
    /// The server has said whose token this is.
    void confirm(std::string email);
    /// Nobody is signed in from now on, whatever the store does, nor after the next start; the items go in
    /// the background, and are tried again when they are read next.
    void forget();
    /// As `forget`, after the server has refused the token: one that another program has stored since stays.
    void refused();
    /// Whether the keychain took what it was told last; waits for it.
    Task<bool> settled();

    /// A token in memory turned out to be in the keychain no more.
    std::function<void()> onVanished;

private:
    class Vault;
    struct Found;

    Credentials(SerialExecutor main, SerialExecutor keyring, std::shared_ptr<Vault> vault);

    static Task<TokenResult> read(std::shared_ptr<Credentials> self);
    static Task<std::optional<std::string>> email(std::shared_ptr<Credentials> self);
    static Task<void> look(std::weak_ptr<Credentials> weak);
    void lookAgain();
    TokenResult take(const Found& found);
    void drop(bool wasRefused);

    const SerialExecutor main_;
    const SerialExecutor keyring_;
    const std::shared_ptr<Vault> vault_;
    std::optional<std::string> token_;
    std::optional<std::string> email_;      ///< of this process's own sign-in
    std::optional<std::string> forgotten_;  ///< does not come back while it cannot be deleted
    std::optional<std::string> otherServer_;
    std::uint64_t changes_ = 0;  ///< by this process; what was read before one is worth nothing
    bool isLooking_ = false;
};

}  // namespace tarn
