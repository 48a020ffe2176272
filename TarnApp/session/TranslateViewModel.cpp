#include "TranslateViewModel.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "FirstLanguages.h"
#include "SoundErrors.h"
#include "TarnApp/localization/AddedText.h"
#include "TarnApp/localization/LocKey.h"
#include "TarnPlatform/base/CarryOut.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/SystemLog.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds toastTime{4};

QStringList texts(const std::optional<std::vector<std::string>>& codes) {
    QStringList list;
    for (const std::string& code : codes.value_or(std::vector<std::string>())) {
        list.push_back(QString::fromStdString(code));
    }
    return list;
}

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

Task<std::vector<AudioInputDevice>> listInputs(std::function<std::vector<AudioInputDevice>()> inputs) {
    co_return inputs();
}

Task<bool> mayCapture(std::shared_ptr<ScreenCaptureAccess> access) {
    co_return access->preflight();
}

}  // namespace

std::shared_ptr<TranslateViewModel> TranslateViewModel::make(ViewModelServices services) {
    // Not make_shared: the constructor is private, and what it starts needs the shared pointer.
    std::shared_ptr<TranslateViewModel> model(new TranslateViewModel(std::move(services)));
    model->begin();
    return model;
}

TranslateViewModel::TranslateViewModel(ViewModelServices services)
    : services_(std::move(services)),
      serverClient_(services_.makeServerClient(services_.credentials->provider())) {
    load();
}

TranslateViewModel::~TranslateViewModel() {
    for (TaskHandle* const task :
         {&toastTask_, &appsTask_, &micsTask_, &learnTask_, &accountTask_, &signOutTask_}) {
        task->cancel();
    }
    for (const auto& connection : subs_) {
        disconnect(connection);
    }
}

void TranslateViewModel::load() {
    const UserDefaults& defaults = *services_.defaults;
    rate_ = defaults.number("rate").value_or(1.0);
    outputGain_ = defaults.number("outputGain").value_or(1.0);
    tier2Expanded_ = defaults.boolean("tier2Expanded").value_or(false);
    miniMode_ = defaults.boolean("miniMode").value_or(false);
    subtitleScale_ = defaults.number("subtitleScale").value_or(1.0);
    mode_ = appMode(defaults.string("mode").value_or("solo")).value_or(AppMode::solo);
}

void TranslateViewModel::begin() {
    refreshMics();
    appsTask_ = TaskHandle::start(services_.session.main, loadFirstApps(weak_from_this()));
    sessions_.push_back(
        std::make_shared<TranslateSession>("session.0", services_.defaults, services_.session));
    wireSession(sessions_.front());
    applyMode();
    observeSessions();
    services_.credentials->onVanished = [weak = weak_from_this()] {
        if (const auto self = weak.lock(); self && self->isLoggedIn()) {
            self->sessionExpired();
        }
    };
    learnTask_ = TaskHandle::start(services_.session.main, learnSignIn(weak_from_this()));
}

void TranslateViewModel::setRate(double value) {
    rate_ = value;
    Q_EMIT rateChanged();
    services_.defaults->set("rate", value);
    propagateLiveParams();
}

void TranslateViewModel::setOutputGain(double value) {
    outputGain_ = value;
    Q_EMIT outputGainChanged();
    services_.defaults->set("outputGain", value);
    propagateLiveParams();
}

void TranslateViewModel::setTier2Expanded(bool value) {
    tier2Expanded_ = value;
    Q_EMIT tier2ExpandedChanged();
    services_.defaults->set("tier2Expanded", value);
}

void TranslateViewModel::setMiniMode(bool value) {
    miniMode_ = value;
    Q_EMIT miniModeChanged();
    services_.defaults->set("miniMode", value);
}

void TranslateViewModel::setSubtitleScale(double value) {
    subtitleScale_ = value;
    Q_EMIT subtitleScaleChanged();
    services_.defaults->set("subtitleScale", value);
}

void TranslateViewModel::setMode(AppMode value) {
    mode_ = value;
    Q_EMIT modeChanged();
    services_.defaults->set("mode", rawValue(value));
    applyMode();
}

void TranslateViewModel::setAvailableMics(std::vector<AudioInputDevice> value) {
    availableMics_ = std::move(value);
    Q_EMIT availableMicsChanged();
}

void TranslateViewModel::setScreenRecNeededEvent(bool value) {
    screenRecNeededEvent_ = value;
    Q_EMIT screenRecNeededEventChanged();
}

void TranslateViewModel::setSignIn(SignIn value) {
    signIn_ = value;
    if (value == SignIn::present) {
        setSignInAddress({});
        readStoredEmail();
    }
    isStartBlind_ = isStartBlind_ && value != SignIn::present;
    Q_EMIT isLoggedInChanged();
}

void TranslateViewModel::readStoredEmail() {
    storedEmail_.clear();
    services_.credentials->tellEmail([weak = weak_from_this()](const std::optional<std::string>& email) {
        if (const auto self = weak.lock(); self && !self->account_) {
            self->storedEmail_ = email.value_or("");
            Q_EMIT self->accountChanged();
        }
    });
}

void TranslateViewModel::setAccount(std::optional<UserAccount> value) {
    account_ = std::move(value);
    suggestLanguages();
    Q_EMIT accountChanged();
}

void TranslateViewModel::suggestLanguages() {
    if (!account_ || !account_->languages || services_.preferredLanguages == nullptr) {
        return;
    }
    TranslateSession& first = *sessions_.front();
    if (first.canStop()) {
        return;  // what is shown is what the run translates; when it has ended this is looked at again
    }
    const LanguagePair usual{first.sourceLang().toStdString(), first.targetLang().toStdString()};
    LanguageWish wish{usual, {}, {}, services_.preferredLanguages()};
    if (first.hasChosenSourceLang()) {
        wish.chosenSource = usual.source;
    }
    if (first.hasChosenTargetLang()) {
        wish.chosenTarget = usual.target;
    }
    if (const auto pair = firstPair(*account_->languages, wish)) {
        first.suggestLanguages(QString::fromStdString(pair->source), QString::fromStdString(pair->target));
    }
}

QStringList TranslateViewModel::heardLanguages() const {
    return account_ && account_->languages ? texts(heardBy(*account_->languages)) : QStringList();
}

QStringList TranslateViewModel::targetLanguages(const QString& source) const {
    return account_ && account_->languages ? texts(targetsOf(*account_->languages, source.toStdString()))
                                           : QStringList();
}

// Sessions.

void TranslateViewModel::applyMode() {
    const std::size_t target = mode_ == AppMode::solo ? 1 : std::max<std::size_t>(sessions_.size(), 2);
    if (sessions_.size() == target) {
        return;
    }
    while (sessions_.size() > target) {
        const auto last = sessions_.back();
        sessions_.pop_back();
        last->stop();
    }
    while (sessions_.size() < target) {
        appendSession();
    }
    Q_EMIT sessionsChanged();
    observeSessions();
}

void TranslateViewModel::appendSession() {
    const std::string storageNamespace = freeNamespace();
    auto session =
        std::make_shared<TranslateSession>(storageNamespace, services_.defaults, services_.session);
    if (!services_.defaults->contains(storageNamespace + ".sourceLang")) {
        // A new partner speaks what the first session translates into, and hears what that one hears.
        session->setSourceLang(sessions_.front()->targetLang());
        session->setTargetLang(sessions_.front()->sourceLang());
    }
    wireSession(session);
    sessions_.push_back(std::move(session));
}

std::string TranslateViewModel::freeNamespace() const {
    const auto named = [](std::size_t number) { return "session." + std::to_string(number); };
    const auto isTaken = [this](const std::string& name) {
        return std::ranges::any_of(sessions_,
                                   [&](const auto& session) { return session->storageNamespace() == name; });
    };
    std::string name = named(sessions_.size());
    for (std::size_t number = 0; isTaken(name); ++number) {
        name = named(number);
    }
    return name;
}

void TranslateViewModel::addSession() {
    if (mode_ == AppMode::conversation && sessions_.size() < mostSessions) {
        appendSession();
        Q_EMIT sessionsChanged();
        observeSessions();
    }
}

void TranslateViewModel::removeSession(const std::shared_ptr<TranslateSession>& session) {
    const auto found = std::ranges::find(sessions_, session);
    if (found == sessions_.end() || found == sessions_.begin()) {
        return;
    }
    const auto removed = std::move(*found);
    sessions_.erase(found);
    removed->stop();
    Q_EMIT sessionsChanged();
    observeSessions();
    if (sessions_.size() < 2 && mode_ == AppMode::conversation) {
        setMode(AppMode::solo);
    }
}

void TranslateViewModel::wireSession(const std::shared_ptr<TranslateSession>& session) {
    session->onAuthFailure = [weak = weak_from_this(), failed = session.get()] {
        if (const auto self = weak.lock()) {
            self->authFailed(*failed);
        }
    };
    session->onScreenRecNeeded = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->setScreenRecNeededEvent(true);
        }
    };
}

void TranslateViewModel::observeSessions() {
    for (const auto& connection : subs_) {
        disconnect(connection);
    }
    subs_.clear();
    for (const auto& session : sessions_) {
        subs_.push_back(connect(session.get(), &TranslateSession::stateChanged, this,
                                [this, started = session.get()] { sessionStateChanged(*started); }));
    }
    recomputeAnyRunning();
}

void TranslateViewModel::sessionStateChanged(const TranslateSession& session) {
    if (session.hasComeUp()) {
        setLiveParams(session);  // they may have changed since the session was started
    } else if (&session == sessions_.front().get()) {
        suggestLanguages();
    }
    recomputeAnyRunning();
}

void TranslateViewModel::recomputeAnyRunning() {
    const bool any =
        std::ranges::any_of(sessions_, [](const auto& session) { return session->state().isActive(); });
    if (any != anyRunning_) {
        anyRunning_ = any;
        Q_EMIT anyRunningChanged();
    }
    const bool stoppable =
        std::ranges::any_of(sessions_, [](const auto& session) { return session->canStop(); });
    if (stoppable != canStop_) {
        canStop_ = stoppable;
        Q_EMIT canStopChanged();
    }
}

void TranslateViewModel::propagateLiveParams() {
    for (const auto& session : sessions_) {
        setLiveParams(*session);
    }
}

void TranslateViewModel::setLiveParams(const TranslateSession& session) const {
    const auto rate = static_cast<float>(rate_);
    const auto gain = static_cast<float>(outputGain_);
    if (const auto& player = session.player()) {
        player->setRate(rate);
        player->setGain(gain);
    }
    if (const auto& micSession = session.micSession()) {
        micSession->setRate(rate);
        micSession->setGain(gain);
    }
}

void TranslateViewModel::startAll() {
    if (isSignedOut()) {
        showSignedOut();
        return;
    }
    isStartBlind_ = signIn_ == SignIn::unknown;
    launchSessions(backend());
}

void TranslateViewModel::showSignedOut() {
    sessions_.front()->setState(ConnectionState::error("not signed in"));
    sessions_.front()->setErrorMessage(shown(AddedText::signInToStart));
}

void TranslateViewModel::launchSessions(const TranslateSession::Backend& backend) {
    // Observers of a start may change the list.
    for (const auto& session : std::vector(sessions_)) {
        if (std::ranges::find(sessions_, session) != sessions_.end()) {
            session->start(static_cast<float>(rate_), static_cast<float>(outputGain_), backend);
        }
    }
}

void TranslateViewModel::stopAll() {
    for (const auto& session : std::vector(sessions_)) {
        session->stop();
    }
}

void TranslateViewModel::reconnect(const std::shared_ptr<TranslateSession>& session) {
    if (!isSignedOut()) {
        session->reconnect(static_cast<float>(rate_), static_cast<float>(outputGain_), backend());
    }
}

void TranslateViewModel::refreshApps() {
    if (availableApps_.empty() && appsAnswer_) {
        appsAnswer_.reset();
        Q_EMIT availableAppsChanged();
    }
    appsTask_ =
        TaskHandle::start(services_.session.main, loadApps(weak_from_this(), "[vm] refreshApps failed: "));
}

Task<void> TranslateViewModel::loadFirstApps(std::weak_ptr<TranslateViewModel> weak) {
    auto self = weak.lock();
    if (!self) {
        co_return;
    }
    // Setting the audio server's library up takes a while.
    auto asking =
        carryOut(self->services_.session.workers, mayCapture(self->services_.session.screenCapture));
    self.reset();
    if (co_await std::move(asking)) {
        co_await loadApps(weak, "[vm] initial refreshApps failed: ");
    }
}

Task<void> TranslateViewModel::loadApps(std::weak_ptr<TranslateViewModel> weak, std::string failurePrefix) {
    auto self = weak.lock();
    if (!self) {
        co_return;
    }
    auto listing = self->services_.availableApps();
    self.reset();
    auto apps = co_await std::move(listing);
    self = weak.lock();
    if (!self) {
        co_return;
    }
    if (apps) {
        self->availableApps_ = std::move(*apps);
        self->appsAnswer_ = Result<void>();
    } else {
        logLine(failurePrefix + apps.error().description);
        self->appsAnswer_ = std::unexpected(apps.error());
    }
    Q_EMIT self->availableAppsChanged();
}

QString TranslateViewModel::noAppsText() const {
    if (!appsAnswer_) {
        return shown(LocKey::appListLoading);
    }
    return *appsAnswer_ ? shown(AddedText::noApplicationPlays)
                        : QString::fromStdString(shownCause(appsAnswer_->error()));
}

// Signing in and out.

std::optional<Url> TranslateViewModel::signInPage() const {
    if (!services_.webBase) {
        return std::nullopt;
    }
    return services_.webBase->appendingPathComponent("auth").withQueryItems({{"return_to", "macos"}});
}

bool TranslateViewModel::startSignIn() {
    setSignInAddress({});
    const auto page = signInPage();
    if (!page) {
        systemLog("[tarn] could not build sign-in URL");
        return false;
    }
    const auto allowed = services_.mayOpenSignInPage ? services_.mayOpenSignInPage() : Result<void>();
    if (!allowed) {
        systemLog("[tarn] " + allowed.error().description);
        showToast(QString::fromStdString(allowed.error().description));
        return false;
    }
    const bool isOpen = services_.session.urlOpener->open(page->text());
    if (!isOpen) {
        setSignInAddress(QString::fromStdString(page->text()));
    }
    return isOpen;
}

void TranslateViewModel::setSignInAddress(const QString& value) {
    if (signInAddress_ != value) {
        signInAddress_ = value;
        Q_EMIT signInAddressChanged();
    }
}

Task<void> TranslateViewModel::learnSignIn(std::weak_ptr<TranslateViewModel> weak) {
    auto self = weak.lock();
    if (!self) {
        co_return;
    }
    auto reading = self->services_.credentials->token();
    self.reset();
    const TokenResult token = co_await std::move(reading);
    self = weak.lock();
    if (!self) {
        co_return;
    }
    if (self->signIn_ == SignIn::unknown) {
        if (!token) {
            logLine("[vm] " + keyringError(token.error()).description);
            self->showTransientStatus(keyringText(token.error()));
        } else if (*token) {
            self->setSignIn(SignIn::present);
            self->accountTask_ = TaskHandle::start(self->services_.session.main, checkAccount(weak));
        } else {
            self->setSignIn(SignIn::absent);
        }
    }
    Q_EMIT self->accountChecked();
}

void TranslateViewModel::authFailed(TranslateSession& session) {
    if (isStartBlind_ && !isLoggedIn() && !services_.credentials->heldToken()) {
        session.setState(ConnectionState::idle());
        session.setErrorMessage(QString());
        setSignIn(SignIn::absent);
        showSignedOut();
        return;
    }
    if (isSignedOut() && userSignedOut_) {
        session.setErrorMessage(QString());
        session.stop();
        return;
    }
    services_.credentials->refused();
    handleLoggedOut();
}

void TranslateViewModel::handleLoginSucceeded() {
    userSignedOut_ = false;
    announcesSignIn_ = true;
    setSignIn(SignIn::present);
    setAccount(std::nullopt);  // it may be another one
    rebuildServerClient();
    accountTask_ = TaskHandle::start(services_.session.main, checkAccount(weak_from_this()));
}

void TranslateViewModel::handleLoggedOut() {
    setSignIn(SignIn::absent);
    setAccount(std::nullopt);
    rebuildServerClient();
    if (onAuthLost) {
        onAuthLost();
    }
}

void TranslateViewModel::signOut() {
    if (isSignedOut()) {
        return;
    }
    const auto& token = services_.credentials->heldToken();
    const auto& session = services_.session;
    if (token) {
        signOutTask_ = TaskHandle::start(
            session.main,
            tellSignOut(weak_from_this(), services_.makeServerClient(fixedPat(token)), session.clock));
    }
    services_.credentials->forget();
    TaskHandle::start(session.main, watchDeletion(weak_from_this(), services_.credentials));
    userSignedOut_ = true;
    handleLoggedOut();
}

Task<void> TranslateViewModel::tellSignOut(std::weak_ptr<TranslateViewModel> weak,
                                           std::shared_ptr<TarnServerClient> client,
                                           std::shared_ptr<Clock> clock) {
    const bool isTold = co_await endsOnServer(std::move(client), std::move(clock));
    if (isTold) {
        co_return;
    }
    logLine("[vm] the server could not be told of the sign-out");
    if (const auto self = weak.lock()) {
        self->showToast(shown(AddedText::serverNotTold));
    }
}

Task<void> TranslateViewModel::watchDeletion(std::weak_ptr<TranslateViewModel> weak,
                                             std::shared_ptr<Credentials> credentials) {
    const bool isGone = co_await credentials->settled();
    if (const auto self = weak.lock(); self && !isGone && self->isSignedOut()) {
        self->showToast(shown(AddedText::signInNotDeleted));
    }
}

Task<void> TranslateViewModel::checkAccount(std::weak_ptr<TranslateViewModel> weak) {
    auto self = weak.lock();
    if (!self) {
        co_return;
    }
    const auto client = self->serverClient_;
    self.reset();
    auto account = co_await client->fetchMe();
    self = weak.lock();
    if (!self) {
        co_return;
    }
    // Otherwise an answer about a user who has signed in anew, or out, in the meantime.
    if (self->serverClient_ == client) {
        self->takeAccount(std::move(account));
    }
    Q_EMIT self->accountChecked();
}

void TranslateViewModel::takeAccount(ServerResult<UserAccount> account) {
    if (account) {
        services_.credentials->confirm(account->email);
        setAccount(std::move(*account));
        if (std::exchange(announcesSignIn_, false)) {
            showToast(shown(LocKey::loginSignedInAs, {account_->email}));
        }
        return;
    }
    const auto* const http = account.error().as<TarnServerError::Http>();
    const bool noToken = account.error().as<TarnServerError::NotAuthenticated>() != nullptr;
    if ((noToken && isLoggedIn()) || (http != nullptr && http->status == 401)) {
        sessionExpired();
    } else if (noToken) {
        setAccount(std::nullopt);
    } else {
        logLine("[vm] account check failed: " + diagnosis(account.error()));
    }
}

void TranslateViewModel::sessionExpired() {
    services_.credentials->refused();
    handleLoggedOut();
    showTransientStatus(shown(LocKey::errSessionExpired));
}

void TranslateViewModel::rebuildServerClient() {
    serverClient_ = services_.makeServerClient(services_.credentials->provider());
}

// Notices.

void TranslateViewModel::showToast(const QString& message) {
    toastTask_.cancel();
    toastMessage_ = message;
    Q_EMIT toastMessageChanged();
    toastTask_ = TaskHandle::start(services_.session.main,
                                   hideToast(weak_from_this(), services_.session.clock, ++toastNumber_));
}

Task<void> TranslateViewModel::hideToast(std::weak_ptr<TranslateViewModel> weak, std::shared_ptr<Clock> clock,
                                         std::uint64_t number) {
    co_await sleepFor(std::move(clock), toastTime);
    // A sleep that was over is not cancelled any more.
    if (const auto self = weak.lock(); self && self->toastNumber_ == number) {
        self->toastMessage_.clear();
        Q_EMIT self->toastMessageChanged();
    }
}

void TranslateViewModel::showTransientStatus(const QString& message) {
    if (!sessions_.empty()) {
        sessions_.front()->setErrorMessage(message);
    }
}

void TranslateViewModel::removeSession(TranslateSession* session) {
    if (session != nullptr) {
        removeSession(session->shared_from_this());
    }
}

void TranslateViewModel::reconnect(TranslateSession* session) {
    if (session != nullptr) {
        reconnect(session->shared_from_this());
    }
}

void TranslateViewModel::refreshMics() {
    micsTask_ = TaskHandle::start(services_.session.main, loadMics(weak_from_this()));
}

Task<void> TranslateViewModel::loadMics(std::weak_ptr<TranslateViewModel> weak) {
    auto self = weak.lock();
    if (!self) {
        co_return;
    }
    auto listing = carryOut(self->services_.session.workers, listInputs(self->services_.inputs));
    self.reset();
    auto mics = co_await std::move(listing);
    self = weak.lock();
    if (self) {
        self->setAvailableMics(std::move(mics));
    }
}

QString TranslateViewModel::modeName() const {
    const auto raw = rawValue(mode_);
    return QString::fromUtf8(raw.data(), static_cast<qsizetype>(raw.size()));
}

void TranslateViewModel::setModeName(const QString& name) {
    if (const auto known = appMode(name.toStdString())) {
        setMode(*known);
    }
}

}  // namespace tarn
