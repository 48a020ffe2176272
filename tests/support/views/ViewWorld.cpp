#include "ViewWorld.h"

#include <QQmlEngine>

#include "TarnApp/server/Keychain.h"
#include "TarnApp/views/model/ViewTypes.h"

namespace tarn::test {
namespace {

std::shared_ptr<TarnServerClient> makeClient(SessionWorld& world, const bool& tokenRefused) {
    auto client = std::make_shared<ScriptedClient>(world);
    client->account = [&tokenRefused]() -> ServerResult<UserAccount> {
        if (tokenRefused) {
            return std::unexpected(TarnServerError::http(401, std::nullopt));
        }
        return UserAccount{"u1", "ada@example.org"};
    };
    return client;
}

template <typename Item>
std::vector<Item> itemsOf(const QVariantList& list) {
    std::vector<Item> items;
    for (const auto& entry : list) {
        const auto fields = entry.toMap();
        items.push_back({fields["id"].toString().toStdString(), fields["name"].toString().toStdString()});
    }
    return items;
}

}  // namespace

ViewWorld::ViewWorld() {
    renew(true);
}

ViewWorld::~ViewWorld() {
    model_.reset();
    world_.reset();
    Loc::manager = nullptr;
    Keychain::useStore(nullptr);
}

void ViewWorld::renew(bool signedIn) {
    auto old = std::exchange(model_, nullptr);
    Q_EMIT renewed();
    old.reset();
    world_.reset();
    world_ = std::make_unique<SessionWorld>();
    tokenRefused_ = false;
    secrets_ = std::make_shared<MemorySecretStore>();
    Keychain::useStore(secrets_);
    if (signedIn) {
        Keychain::set("token", Keychain::Account::pat);
        Keychain::set("ada@example.org", Keychain::Account::userEmail);
    }
    if (!language_) {
        language_ = std::make_unique<LocalizationManager>();
        Loc::manager = language_.get();
    }
    setLanguage("en");

    ViewModelServices services;
    services.session = world_->services();
    services.defaults = world_->defaults;
    services.credentials = Credentials::make(services.session.main, services.session.main, "server");
    services.makeServerClient = [this](const PatProvider&) { return makeClient(*world_, tokenRefused_); };
    services.inputs = [this] { return mics_; };
    services.availableApps = [this] { return listApps(*this); };
    services.webBase = Url::parse("https://tarn.example/site").value();
    services.helpFile = "/usr/share/doc/tarn/troubleshooting.md";
    if (hasIssuesPage_) {
        services.issuesPage = Url::parse("https://tarn.example/issues").value();
    }
    model_ = TranslateViewModel::make(std::move(services));
    settle();
    Q_EMIT renewed();
}

void ViewWorld::pass(int milliseconds) {
    for (; milliseconds > 0; milliseconds -= 10) {
        world_->pass(std::chrono::milliseconds(std::min(milliseconds, 10)));
    }
}

void ViewWorld::loseSignIn() {
    tokenRefused_ = true;
    model_->handleLoginSucceeded();
    settle();
}

void ViewWorld::hear(int index, const QString& text, bool done) {
    if (const auto to = stream(index)) {
        to->events().push(translate::SourceText{text.toStdString(), done});
        settle();
    }
}

void ViewWorld::translate(int index, const QString& text, bool done) {
    if (const auto to = stream(index)) {
        to->events().push(translate::TranslatedText{text.toStdString(), done});
        settle();
    }
}

void ViewWorld::connection(int index, const QString& health, const QString& complaint, double behind) {
    if (const auto to = stream(index)) {
        using enum ConnectionHealth::State;
        to->health().push({health == "stalled"                       ? stalled
                           : health == "slow"                        ? slow
                           : health == "resuming"                    ? resuming
                           : health == "catchingUp"                  ? catchingUp
                           : health == "lost" || health == "refused" ? lost
                                                                     : answering,
                           complaint.toStdString(), health == "refused", behind, health == "standIn"});
        settle();
    }
}

void ViewWorld::miss(int index, double seconds) {
    if (const auto to = stream(index)) {
        to->events().push(translate::Gap{seconds, true});
        settle();
    }
}

void ViewWorld::fail(int index, const QString& message) {
    if (const auto to = stream(index)) {
        to->events().push(translate::Error{message.toStdString()});
        settle();
    }
}

void ViewWorld::level(int index, double linear) {
    if (const auto sink = session(index)->sink()) {
        sink->onLevel(static_cast<float>(linear));
        settle();
    }
}

TranslateSession* ViewWorld::session(int index) const {
    TranslateSession* const found = model_->sessions().at(static_cast<std::size_t>(index)).get();
    QQmlEngine::setObjectOwnership(found, QQmlEngine::CppOwnership);
    return found;
}

void ViewWorld::setMicrophoneStatus(const QString& status) {
    world_->microphoneStatus = status == "authorized"   ? AuthorizationStatus::authorized
                               : status == "denied"     ? AuthorizationStatus::denied
                               : status == "restricted" ? AuthorizationStatus::restricted
                                                        : AuthorizationStatus::notDetermined;
}

void ViewWorld::holdConnecting(bool value) {
    if (value) {
        world_->openBarrier.isClosed = true;
    } else {
        world_->openBarrier.open();
        settle();
    }
}

void ViewWorld::setApps(const QVariantList& apps) {
    apps_ = itemsOf<AudioCapableApp>(apps);
}

void ViewWorld::setMics(const QVariantList& mics) {
    mics_ = itemsOf<AudioInputDevice>(mics);
}

QStringList ViewWorld::openedUrls() const {
    QStringList urls;
    for (const auto& url : world_->openedUrls) {
        urls.append(QString::fromStdString(url));
    }
    return urls;
}

QStringList ViewWorld::takeTrail() {
    QStringList trail;
    for (const auto& line : std::exchange(world_->trail, {})) {
        trail.append(QString::fromStdString(line));
    }
    return trail;
}

QVariant ViewWorld::setting(const QString& key) const {
    const auto name = key.toStdString();
    if (const auto text = world_->defaults->string(name)) {
        return QString::fromStdString(*text);
    }
    if (const auto flag = world_->defaults->boolean(name)) {
        return *flag;
    }
    if (const auto number = world_->defaults->number(name)) {
        return *number;
    }
    return {};
}

void ViewWorld::setLanguage(const QString& raw) {
    language_->setLanguage(raw == "zhHans" ? LanguagePreference::zhHans
                           : raw == "en"   ? LanguagePreference::en
                                           : LanguagePreference::system);
}

std::shared_ptr<ScriptedStream> ViewWorld::stream(int index) const {
    // Each start opens one stream a session, in their order: the latest that live are theirs.
    std::vector<std::shared_ptr<ScriptedStream>> living;
    for (const auto& weak : world_->streams) {
        if (const auto one = weak.lock(); one && one->isAlive()) {
            living.push_back(one);
        }
    }
    const auto at = static_cast<std::size_t>(index);
    return at < living.size() ? living[at] : nullptr;
}

}  // namespace tarn::test
