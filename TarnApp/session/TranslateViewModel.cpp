#include "TranslateViewModel.h"

#include <algorithm>
#include <chrono>
#include <utility>

#include "Languages.h"
#include "TarnApp/localization/AddedText.h"

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

}  // namespace

std::shared_ptr<TranslateViewModel> TranslateViewModel::make(ViewModelServices services) {
    // `make_shared` cannot call the private constructor, and `begin` needs the shared pointer.
    std::shared_ptr<TranslateViewModel> model(new TranslateViewModel(std::move(services)));
    model->begin();
    return model;
}

TranslateViewModel::TranslateViewModel(ViewModelServices services) : services_(std::move(services)) {
    load();
    connect(&lists_, &SourceLists::microphonesChanged, this, &TranslateViewModel::availableMicsChanged);
    connect(&lists_, &SourceLists::applicationsChanged, this, &TranslateViewModel::availableAppsChanged);
    connect(&signIn_, &SignInState::changed, this, [this] {
        isStartBlind_ = isStartBlind_ && !isLoggedIn();
        Q_EMIT isLoggedInChanged();
    });
    connect(&signIn_, &SignInState::accountChanged, this, [this] {
        suggestLanguages();
        Q_EMIT accountChanged();
    });
    connect(&signIn_, &SignInState::accountChecked, this, &TranslateViewModel::accountChecked);
    connect(&signIn_, &SignInState::pageAddressChanged, this, &TranslateViewModel::signInAddressChanged);
    connect(&signIn_, &SignInState::noticed, this, &TranslateViewModel::showToast);
    connect(&recordKeeping_, &RecordKeeping::failed, this, &TranslateViewModel::showToast);
    connect(&signIn_, &SignInState::failed, this, &TranslateViewModel::showTransientStatus);
    connect(&signIn_, &SignInState::lost, this, [this] {
        if (onAuthLost) {
            onAuthLost();
        }
    });
}

TranslateViewModel::~TranslateViewModel() {
    toastTask_.cancel();
    for (const auto& connection : subs_) {
        disconnect(connection);
    }
    // What they have heard and not told yet they tell as they go, which needs the rest of this.
    std::exchange(sessions_, {}).clear();
}

void TranslateViewModel::load() {
    const UserDefaults& defaults = *services_.defaults;
    rate_ = defaults.number("rate").value_or(1.0);
    outputGain_ = defaults.number("outputGain").value_or(1.0);
    keepsUp_ = defaults.boolean("keepUp").value_or(true);
    othersTurnedDown_ = OthersTurnedDown::in(defaults);
    placesDubs_ = defaults.boolean("placeDubs").value_or(false);
    tier2Expanded_ = defaults.boolean("tier2Expanded").value_or(false);
    miniMode_ = defaults.boolean("miniMode").value_or(false);
    subtitleScale_ = defaults.number("subtitleScale").value_or(1.0);
    connectionWishes_ = ConnectionWishes::in(defaults);
    mode_ = appMode(defaults.string("mode").value_or("solo")).value_or(AppMode::solo);
}

void TranslateViewModel::begin() {
    sessions_.push_back(
        std::make_shared<TranslateSession>("session.0", services_.defaults, services_.session));
    wireSession(sessions_.front());
    applyMode();
    observeSessions();
    signIn_.learn();
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

void TranslateViewModel::setResumesConnection(bool value) {
    connectionWishes_.resumes = value;
    Q_EMIT connectionWishesChanged();
    services_.defaults->set(ConnectionWishes::resumesKey, value);
}

void TranslateViewModel::setUsesStandIn(bool value) {
    connectionWishes_.usesStandIn = value;
    Q_EMIT connectionWishesChanged();
    services_.defaults->set(ConnectionWishes::usesStandInKey, value);
}

void TranslateViewModel::setScreenRecNeededEvent(bool value) {
    screenRecNeededEvent_ = value;
    Q_EMIT screenRecNeededEventChanged();
}

void TranslateViewModel::suggestLanguages() {
    const auto& account = signIn_.account();
    if (!account || !account->languages || services_.preferredLanguages == nullptr) {
        return;
    }
    TranslateSession& first = *sessions_.front();
    if (first.canStop()) {
        return;  // the row shows what the run translates; `sessionStateChanged` comes here at its end
    }
    const LanguagePair usual{first.sourceLang().toStdString(), first.targetLang().toStdString()};
    LanguageWish wish{usual, {}, {}, services_.preferredLanguages()};
    if (first.hasChosenSourceLang()) {
        wish.chosenSource = usual.source;
    }
    if (first.hasChosenTargetLang()) {
        wish.chosenTarget = usual.target;
    }
    if (const auto pair = firstPair(*account->languages, wish)) {
        first.suggestLanguages(QString::fromStdString(pair->source), QString::fromStdString(pair->target));
    }
}

QStringList TranslateViewModel::heardLanguages() const {
    const auto& account = signIn_.account();
    return account && account->languages ? texts(heardBy(*account->languages)) : QStringList();
}

QStringList TranslateViewModel::targetLanguages(const QString& source) const {
    const auto& account = signIn_.account();
    return account && account->languages ? texts(targetsOf(*account->languages, source.toStdString()))
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
        // A new partner speaks the language that the first session translates into, and the other way round.
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
    session->onVoiceMade = [weak = weak_from_this()](const SessionPipeline& parts) {
        if (const auto self = weak.lock()) {
            self->setLiveParams(parts);
        }
    };
    session->onScreenRecNeeded = [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->setScreenRecNeededEvent(true);
        }
    };
    // A session that is removed says to the end what it has heard, under the number that it had.
    connect(session.get(), &TranslateSession::utteranceFinished, this,
            [this, from = session.get(), number = numberOf(*session)](const Utterance& utterance) mutable {
                const auto now = numberOf(*from);
                number = now < sessions_.size() ? now : number;
                Utterance said = utterance;
                said.source = static_cast<int>(number);
                takeUtterance(*from, std::move(said));
            });
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
    placeDubs();
    recomputeAnyRunning();
}

void TranslateViewModel::sessionStateChanged(const TranslateSession& session) {
    if (session.hasComeUp()) {
        setLiveParams(session.parts());  // the user may have changed them since the session was started
    } else if (&session == sessions_.front().get()) {
        suggestLanguages();
    }
    placeDubs();
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
        if (stoppable) {
            recordKeeping_.beginRun(recordHeader());
        } else {
            recordKeeping_.endRun();
        }
        Q_EMIT canStopChanged();
    }
}

void TranslateViewModel::startAll() {
    if (isSignedOut()) {
        showSignedOut();
        return;
    }
    isStartBlind_ = !isLoggedIn();
    launchSessions(backend());
}

void TranslateViewModel::showSignedOut() {
    sessions_.front()->setState(ConnectionState::error("not signed in"));
    sessions_.front()->setErrorMessage(shown(AddedText::signInToStart));
}

void TranslateViewModel::launchSessions(const TranslateSession::Backend& backend) {
    // Observers of a start may change the list, so a copy is walked.
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

void TranslateViewModel::authFailed(TranslateSession& session) {
    if (isStartBlind_ && !isLoggedIn() && !services_.credentials->heldToken()) {
        session.setState(ConnectionState::idle());
        session.setErrorMessage(QString());
        signIn_.foundSignedOut();
        showSignedOut();
        return;
    }
    if (signIn_.isSignedOutByUser()) {
        session.setErrorMessage(QString());
        session.stop();
        return;
    }
    signIn_.refuse();
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
    // A sleep that has ended can no longer be cancelled, so a later notice is told by its number.
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
