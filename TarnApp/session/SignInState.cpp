#include "SignInState.h"

#include <utility>

#include "TarnApp/localization/AddedText.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/SystemLog.h"

namespace tarn {
namespace {

QString keyringText(const SecretError& error) {
    switch (error.fault) {
        case SecretFault::locked:
            return shown(AddedText::keyringLocked);
        case SecretFault::timedOut:
            return shown(AddedText::keyringSilent);
        default:
            return shown(AddedText::signInUnreadable, {error.description});
    }
}

}  // namespace

SignInState::SignInState(const ViewModelServices& services) : services_(services) {
    rebuildServerClient();
}

SignInState::~SignInState() {
    for (TaskHandle* const task : {&learnTask_, &accountTask_, &signOutTask_}) {
        task->cancel();
    }
}

void SignInState::learn() {
    services_.credentials->onVanished = [weak = QPointer(this)] {
        if (weak && weak->isSignedIn()) {
            weak->expire();
        }
    };
    learnTask_ = TaskHandle::start(services_.session.main, readStored(this));
}

Task<void> SignInState::readStored(QPointer<SignInState> weak) {
    if (!weak) {
        co_return;
    }
    auto reading = weak->services_.credentials->token();
    const TokenResult token = co_await std::move(reading);
    if (!weak) {
        co_return;
    }
    if (weak->state_ == State::unknown) {
        if (!token) {
            logLine("[vm] " + keyringError(token.error()).description);
            Q_EMIT weak->failed(keyringText(token.error()));
        } else if (*token) {
            weak->setState(State::present);
            weak->startCheck();
        } else {
            weak->setState(State::absent);
        }
    }
    Q_EMIT weak->accountChecked();
}

QString SignInState::email() const {
    return isSignedIn() ? QString::fromStdString(account_ ? account_->email : storedEmail_) : QString();
}

void SignInState::setState(State value) {
    state_ = value;
    if (value == State::present) {
        setPageAddress({});
        readStoredEmail();
    }
    Q_EMIT changed();
}

void SignInState::readStoredEmail() {
    storedEmail_.clear();
    services_.credentials->tellEmail([weak = QPointer(this)](const std::optional<std::string>& email) {
        if (weak && !weak->account_) {
            weak->storedEmail_ = email.value_or("");
            Q_EMIT weak->accountChanged();
        }
    });
}

void SignInState::setAccount(std::optional<UserAccount> value) {
    account_ = std::move(value);
    Q_EMIT accountChanged();
}

std::optional<Url> SignInState::page() const {
    if (!services_.webBase) {
        return std::nullopt;
    }
    return services_.webBase->appendingPathComponent("auth").withQueryItems({{"return_to", "macos"}});
}

bool SignInState::openPage() {
    setPageAddress({});
    const auto address = page();
    if (!address) {
        systemLog("[tarn] could not build sign-in URL");
        return false;
    }
    const auto allowed = services_.mayOpenSignInPage ? services_.mayOpenSignInPage() : Result<void>();
    if (!allowed) {
        systemLog("[tarn] " + allowed.error().description);
        Q_EMIT noticed(QString::fromStdString(allowed.error().description));
        return false;
    }
    const bool isOpen = services_.session.urlOpener->open(address->text());
    if (!isOpen) {
        setPageAddress(QString::fromStdString(address->text()));
    }
    return isOpen;
}

void SignInState::setPageAddress(const QString& value) {
    if (pageAddress_ != value) {
        pageAddress_ = value;
        Q_EMIT pageAddressChanged();
    }
}

void SignInState::succeeded() {
    userSignedOut_ = false;
    announcesSignIn_ = true;
    setState(State::present);
    setAccount(std::nullopt);  // another user may have signed in
    rebuildServerClient();
    startCheck();
}

void SignInState::lose() {
    setState(State::absent);
    setAccount(std::nullopt);
    rebuildServerClient();
    Q_EMIT lost();
}

void SignInState::refuse() {
    services_.credentials->refused();
    lose();
}

void SignInState::expire() {
    refuse();
    Q_EMIT failed(shown(LocKey::errSessionExpired));
}

void SignInState::foundSignedOut() {
    setState(State::absent);
}

void SignInState::signOut() {
    if (isSignedOut()) {
        return;
    }
    const auto& token = services_.credentials->heldToken();
    const auto& session = services_.session;
    if (token) {
        signOutTask_ = TaskHandle::start(
            session.main, tellServer(this, services_.makeServerClient(fixedPat(token)), session.clock));
    }
    services_.credentials->forget();
    TaskHandle::start(session.main, watchDeletion(this, services_.credentials));
    userSignedOut_ = true;
    lose();
}

Task<void> SignInState::tellServer(QPointer<SignInState> weak, std::shared_ptr<TarnServerClient> client,
                                   std::shared_ptr<Clock> clock) {
    const bool hasEnded = co_await endsOnServer(std::move(client), std::move(clock));
    if (hasEnded) {
        co_return;
    }
    logLine("[vm] the server could not be told of the sign-out");
    if (weak) {
        Q_EMIT weak->noticed(shown(AddedText::serverNotTold));
    }
}

Task<void> SignInState::watchDeletion(QPointer<SignInState> weak, std::shared_ptr<Credentials> credentials) {
    const bool isGone = co_await credentials->settled();
    if (weak && !isGone && weak->isSignedOut()) {
        Q_EMIT weak->noticed(shown(AddedText::signInNotDeleted));
    }
}

void SignInState::startCheck() {
    accountTask_ = TaskHandle::start(services_.session.main, checkAccount(this));
}

Task<void> SignInState::checkAccount(QPointer<SignInState> weak) {
    if (!weak) {
        co_return;
    }
    const auto client = weak->serverClient_;
    auto account = co_await client->fetchMe();
    if (!weak) {
        co_return;
    }
    // Another client means that the user has signed in anew, or out, while the server was answering.
    if (weak->serverClient_ == client) {
        weak->takeAccount(std::move(account));
    }
    Q_EMIT weak->accountChecked();
}

void SignInState::takeAccount(ServerResult<UserAccount> account) {
    if (account) {
        services_.credentials->confirm(account->email);
        setAccount(std::move(*account));
        if (std::exchange(announcesSignIn_, false)) {
            Q_EMIT noticed(shown(LocKey::loginSignedInAs, {account_->email}));
        }
        return;
    }
    const auto* const http = account.error().as<TarnServerError::Http>();
    const bool noToken = account.error().as<TarnServerError::NotAuthenticated>() != nullptr;
    if ((noToken && isSignedIn()) || (http != nullptr && http->status == 401)) {
        expire();
    } else if (noToken) {
        setAccount(std::nullopt);
    } else {
        logLine("[vm] account check failed: " + diagnosis(account.error()));
    }
}

void SignInState::rebuildServerClient() {
    serverClient_ = services_.makeServerClient(services_.credentials->provider());
}

}  // namespace tarn
