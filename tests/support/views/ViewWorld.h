#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <memory>

#include "TarnApp/localization/LocalizationManager.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "session/MemorySecretStore.h"
#include "session/SessionWorld.h"

namespace tarn::test {

/// What views are shown in a test: a real view model over scripted surroundings, in which nothing happens and
/// no time passes but in the calls below. As the context property `world` of Qt Quick tests; `Loc` is its
/// language.
class ViewWorld : public QObject {
    Q_OBJECT
    Q_PROPERTY(tarn::TranslateViewModel* vm READ vm NOTIFY renewed)

public:
    ViewWorld();
    ~ViewWorld() override;

    TranslateViewModel* vm() const { return model_.get(); }
    const std::shared_ptr<TranslateViewModel>& model() const { return model_; }
    SessionWorld& sessions() { return *world_; }
    /// From now on `model` is the one that the calls below are about. It must have been made of
    /// `vm()->services()`.
    void useModel(std::shared_ptr<TranslateViewModel> model) { model_ = std::move(model); }

    /// A new world and model, with no settings kept. Views of the old model must be gone.
    Q_INVOKABLE void renew(bool signedIn);
    Q_INVOKABLE void setHasIssuesPage(bool value) { hasIssuesPage_ = value; }  ///< seen by the next `renew`

    /// Runs what is due until nothing moves.
    Q_INVOKABLE void settle() { world_->settle(); }
    /// Lets time pass, in steps of 10 ms.
    Q_INVOKABLE void pass(int milliseconds);
    /// Lets the account server say that the token is refused, at the next check or start.
    Q_INVOKABLE void loseSignIn();

    /// What a running session hears, by its place in `vm`. Texts replace each other as in a real run.
    Q_INVOKABLE void hear(int index, const QString& text, bool done = false);
    Q_INVOKABLE void translate(int index, const QString& text, bool done = false);
    Q_INVOKABLE void fail(int index, const QString& message);  ///< an error that the service tells of
    Q_INVOKABLE void miss(int index, double seconds);          ///< an outage whose sound is not kept
    /// What the connection of a running session tells: "answering", "stalled", "slow", "resuming",
    /// "catchingUp", "standIn", "lost" or "refused".
    Q_INVOKABLE void connection(int index, const QString& health,
                                const QString& complaint = "[quota] Out of credit", double behind = 12);
    Q_INVOKABLE void toast(const QString& message) { model_->showToast(message); }
    Q_INVOKABLE void level(int index, double linear);  ///< of a session that does not use a microphone
    Q_INVOKABLE tarn::TranslateSession* session(int index) const;

    Q_INVOKABLE void setScreenAllowed(bool value) { world_->screenAllowed = value; }
    /// "authorized", "denied", "restricted", "notDetermined"
    Q_INVOKABLE void setMicrophoneStatus(const QString& status);
    Q_INVOKABLE void setMicrophoneGranted(bool value) { world_->microphoneGranted = value; }
    /// Starts stay in `connecting` until this is false again.
    Q_INVOKABLE void holdConnecting(bool value);
    Q_INVOKABLE void setApps(const QVariantList& apps);  ///< {id, name} each; seen by the next refresh
    Q_INVOKABLE void setMics(const QVariantList& mics);  ///< {id, name} each; seen by the next refresh

    Q_INVOKABLE void setHasBrowser(bool value) { world_->hasBrowser = value; }
    Q_INVOKABLE QStringList openedUrls() const;
    /// What sessions asked of their surroundings, since the last call: "open zh>en voice - none -", …
    Q_INVOKABLE QStringList takeTrail();
    Q_INVOKABLE QVariant setting(const QString& key) const;
    Q_INVOKABLE void setLanguage(const QString& raw);  ///< "system", "en" or "zhHans"

Q_SIGNALS:
    void renewed();

private:
    static Task<Result<std::vector<AudioCapableApp>>> listApps(const ViewWorld& world) {
        co_return world.apps_;
    }
    std::shared_ptr<ScriptedStream> stream(int index) const;

    std::shared_ptr<MemorySecretStore> secrets_;
    std::unique_ptr<SessionWorld> world_;
    std::unique_ptr<LocalizationManager> language_;
    std::vector<AudioCapableApp> apps_{{"org.vlc", "VLC"}, {"firefox", "Firefox"}};
    std::vector<AudioInputDevice> mics_{{"mic-1", "Built-in Microphone", 1}, {"mic-2", "Headset", 2}};
    bool tokenRefused_ = false;
    bool hasIssuesPage_ = true;
    std::shared_ptr<TranslateViewModel> model_;
};

}  // namespace tarn::test
