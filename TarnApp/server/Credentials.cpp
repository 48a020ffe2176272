#include "Credentials.h"

#include <QCryptographicHash>
#include <boost/asio/post.hpp>
#include <boost/asio/thread_pool.hpp>
#include <cstddef>
#include <span>
#include <string_view>
#include <utility>

#include "Keychain.h"
#include "TarnPlatform/base/CarryOut.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/TaskHandle.h"
#include "TarnPlatform/net/Base64.h"
#include "TarnPlatform/secrets/SecretStores.h"

namespace tarn {
namespace {

using enum Keychain::Account;
using SteadyClock = std::chrono::steady_clock;

/// This thread alone waits for the keyring.
class KeyringThread {
public:
    KeyringThread() = default;
    ~KeyringThread() {
        giveUpPrompts();
        pool_.join();
    }
    KeyringThread(const KeyringThread&) = delete;
    KeyringThread& operator=(const KeyringThread&) = delete;

    SerialExecutor executor() { return pool_.get_executor(); }

private:
    asio::thread_pool pool_{1};
};

Task<TokenResult> give(std::optional<std::string> token) {
    co_return token;
}

template <typename T>
Task<void> pass(Task<T> answer, std::function<void(const T&)> receiver) {
    const T value = co_await std::move(answer);
    receiver(value);
}

Task<TokenResult> ask(const std::shared_ptr<Credentials>& credentials) {
    return credentials->token();
}

/// The value is a part of the SHA-256 of the token that the user signed out of. A keyring that could not
/// delete the token then cannot bring the sign-in back.
constexpr const char* forgottenKey = "forgottenSignIn";

std::string markOf(std::string_view token) {
    // Not OpenSSL's, whose state may be gone when the keyring answers while the process ends.
    const auto hash = QCryptographicHash::hash(QByteArray(token.data(), static_cast<qsizetype>(token.size())),
                                               QCryptographicHash::Sha256);
    return base64Encode(std::as_bytes(std::span(hash.constData(), 12)));
}

}  // namespace

PatProvider fixedPat(std::optional<std::string> token) {
    return [token = std::move(token)] { return give(token); };
}

struct Credentials::Found {
    TokenResult token;
    std::optional<std::string> otherServer{};
};

/// The stored sign-in with one server. Thread: the keyring's executor.
class Credentials::Vault {
public:
    Vault(std::string server, bool isConfigured, std::shared_ptr<UserDefaults> settings)
        : server_(std::move(server)), isConfigured_(isConfigured), settings_(std::move(settings)) {}

    /// Makes this and later processes ignore the token until it has been deleted. Thread: any.
    void mark(const std::string& forgotten) { settings_->set(forgottenKey, markOf(forgotten)); }

    /// May ask the user. A caller that was already waiting when an answer came gets that answer, so that four
    /// sources that start together wait once.
    static Task<Found> read(std::shared_ptr<Vault> self, SteadyClock::time_point asked) {
        if (!self->last_ || self->lastRead_ < asked) {
            self->last_ = self->found(Keychain::read);
            self->lastRead_ = SteadyClock::now();
        }
        co_return *self->last_;
    }
    static Task<Found> peek(std::shared_ptr<Vault> self) { co_return self->found(Keychain::peek); }

    static Task<std::optional<std::string>> email() {
        co_return Keychain::peek(userEmail).value_or(std::nullopt);
    }

    void store(const std::string& token, const std::optional<std::string>& email) {
        // The server is removed first: if the process dies on the way, the new token must not be taken for
        // one of the old server.
        isWell_ = Keychain::read(server).value_or(std::nullopt) == server_ || Keychain::remove(server);
        isWell_ = Keychain::set(token, pat) && isWell_;
        isWell_ = Keychain::set(server_, server) && isWell_;
        isWell_ = (email ? Keychain::set(*email, userEmail) : Keychain::remove(userEmail)) && isWell_;
        if (isWell_) {
            settings_->remove(forgottenKey);
        }
        last_.reset();
    }

    void confirm(const std::string& email) {
        const auto kept = Keychain::peek(userEmail);
        if (kept && *kept != email) {
            Keychain::set(email, userEmail);
        }
    }

    /// With a `refusedToken`, removes that one only, since another program may have stored a newer one.
    void remove(const std::optional<std::string>& refusedToken) {
        last_.reset();
        if (refusedToken) {
            const auto stored = Keychain::peek(pat);
            if (stored && *stored && **stored != *refusedToken) {
                isWell_ = true;
                return;
            }
        }
        isWell_ = Keychain::remove(pat) && Keychain::remove(userEmail) && Keychain::remove(server);
        if (isWell_) {
            settings_->remove(forgottenKey);
        } else {
            logLine("[Keychain] the sign-in could not be deleted");
        }
    }

    static Task<bool> isWell(std::shared_ptr<Vault> self) { co_return self->isWell_; }

private:
    Found found(TokenResult (*ask)(Keychain::Account)) {
        auto token = ask(pat);
        if (!token || !*token) {
            return {std::move(token)};
        }
        if (const auto mark = settings_->string(forgottenKey); mark && *mark == markOf(**token)) {
            remove(std::nullopt);
            return {std::nullopt};
        }
        auto issuer = ask(server);
        if (!issuer) {
            return {std::unexpected(issuer.error())};
        }
        if (*issuer == server_) {
            return {std::move(token)};
        }
        if (*issuer || !isConfigured_) {
            return {std::nullopt, issuer->value_or("the configured server")};
        }
        Keychain::set(server_, server);  // an older version stored no server with the token
        return {std::move(token)};
    }

    const std::string server_;
    const bool isConfigured_;
    const std::shared_ptr<UserDefaults> settings_;
    std::optional<Found> last_;
    SteadyClock::time_point lastRead_;
    bool isWell_ = true;
};

std::string Credentials::originOf(const Url& url) {
    return url.scheme() + "://" + url.hostHeader();
}

std::shared_ptr<Credentials> Credentials::make(SerialExecutor main, SerialExecutor keyring,
                                               std::string server, bool isConfigured,
                                               std::shared_ptr<UserDefaults> settings) {
    // `make_shared` cannot call the private constructor.
    return std::shared_ptr<Credentials>(
        new Credentials(std::move(main), std::move(keyring),
                        std::make_shared<Vault>(std::move(server), isConfigured, std::move(settings))));
}

std::shared_ptr<Credentials> Credentials::real(SerialExecutor main, const DeploymentValues& deployment) {
    static KeyringThread thread;
    const auto server = originOf(deployment.apiBase);
    const auto& configured = Deployment::current();
    return make(std::move(main), thread.executor(), server,
                configured && originOf(configured->apiBase) == server, UserDefaults::standard());
}

Credentials::Credentials(SerialExecutor main, SerialExecutor keyring, std::shared_ptr<Vault> vault)
    : main_(std::move(main)), keyring_(std::move(keyring)), vault_(std::move(vault)) {}

Task<TokenResult> Credentials::token() {
    if (token_) {
        lookAgain();
        return give(token_);
    }
    return read(shared_from_this());
}

PatProvider Credentials::provider() {
    return [self = shared_from_this()] { return ask(self); };
}

Task<TokenResult> Credentials::read(std::shared_ptr<Credentials> self) {
    const auto before = self->changes_;
    const Found found = co_await carryOut(self->keyring_, Vault::read(self->vault_, SteadyClock::now()));
    if (self->changes_ != before) {
        co_return self->token_;
    }
    co_return self->take(found);
}

TokenResult Credentials::take(const Found& found) {
    if (!found.token) {
        return found.token;
    }
    otherServer_ = found.otherServer;
    token_ = *found.token;
    if (token_ && token_ == forgotten_) {
        token_.reset();
    }
    return token_;
}

void Credentials::lookAgain() {
    if (!std::exchange(isLooking_, true)) {
        TaskHandle::start(main_, look(weak_from_this()));
    }
}

Task<void> Credentials::look(std::weak_ptr<Credentials> weak) {
    auto self = weak.lock();
    if (!self) {
        co_return;
    }
    const auto before = self->changes_;
    auto asking = carryOut(self->keyring_, Vault::peek(self->vault_));
    self.reset();
    const Found found = co_await std::move(asking);
    self = weak.lock();
    if (!self) {
        co_return;
    }
    self->isLooking_ = false;
    if (self->changes_ != before) {
        co_return;
    }
    const TokenResult now = self->take(found);
    if (now && !*now && self->onVanished) {
        self->onVanished();
    }
}

Task<std::optional<std::string>> Credentials::email(std::shared_ptr<Credentials> self) {
    if (self->email_) {
        co_return self->email_;
    }
    co_return co_await carryOut(self->keyring_, Vault::email());
}

void Credentials::tellToken(std::function<void(const TokenResult&)> receiver) {
    TaskHandle::start(main_, pass(token(), std::move(receiver)));
}

void Credentials::tellEmail(std::function<void(const std::optional<std::string>&)> receiver) {
    TaskHandle::start(main_, pass(email(shared_from_this()), std::move(receiver)));
}

void Credentials::signIn(std::string token, std::optional<std::string> email) {
    ++changes_;
    forgotten_.reset();
    otherServer_.reset();
    token_ = token;
    email_ = email;
    asio::post(keyring_, [vault = vault_, token = std::move(token), email = std::move(email)] {
        vault->store(token, email);
    });
}

void Credentials::confirm(std::string email) {
    if (!token_ || email_ == email) {
        return;
    }
    email_ = email;
    asio::post(keyring_, [vault = vault_, email = std::move(email)] { vault->confirm(email); });
}

void Credentials::forget() {
    drop(false);
}

void Credentials::refused() {
    drop(true);
}

void Credentials::drop(bool wasRefused) {
    ++changes_;
    forgotten_ = std::exchange(token_, std::nullopt);
    email_.reset();
    otherServer_.reset();
    if (forgotten_ && !wasRefused) {
        vault_->mark(*forgotten_);
    }
    asio::post(keyring_,
               [vault = vault_, only = wasRefused ? forgotten_ : std::nullopt] { vault->remove(only); });
}

Task<bool> Credentials::settled() {
    return carryOut(keyring_, Vault::isWell(vault_));
}

}  // namespace tarn
