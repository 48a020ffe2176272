#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QStringList>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "AppMode.h"
#include "OthersTurnedDown.h"
#include "SignInState.h"
#include "SourceLists.h"
#include "TarnApp/record/Record.h"
#include "TarnApp/record/RecordKeeping.h"
#include "TarnApp/server/ConnectionWishes.h"
#include "TarnPlatform/base/TaskHandle.h"
#include "TranslateSession.h"

namespace tarn {

/// The application's state: one object, shared by every window.
///
/// Keeps the list of sessions in step with the mode, holds and stores the settings that concern all of them,
/// starts and stops them together, and knows whether the user is signed in.
///
/// Thread: `SessionServices::main` for everything. Owned by `shared_ptr`; its tasks hold it weakly.
class TranslateViewModel : public QObject, public std::enable_shared_from_this<TranslateViewModel> {
    Q_OBJECT
    Q_PROPERTY(double rate READ rate WRITE setRate NOTIFY rateChanged)
    Q_PROPERTY(double outputGain READ outputGain WRITE setOutputGain NOTIFY outputGainChanged)
    Q_PROPERTY(bool keepsUp READ keepsUp WRITE setKeepsUp NOTIFY keepsUpChanged)
    Q_PROPERTY(
        int othersTurnedDown READ othersTurnedDown WRITE setOthersTurnedDown NOTIFY othersTurnedDownChanged)
    Q_PROPERTY(bool placesDubs READ placesDubs WRITE setPlacesDubs NOTIFY placesDubsChanged)
    Q_PROPERTY(QList<int> othersDownChoices READ othersDownChoices CONSTANT)
    Q_PROPERTY(bool tier2Expanded READ tier2Expanded WRITE setTier2Expanded NOTIFY tier2ExpandedChanged)
    Q_PROPERTY(bool miniMode READ miniMode WRITE setMiniMode NOTIFY miniModeChanged)
    Q_PROPERTY(double subtitleScale READ subtitleScale WRITE setSubtitleScale NOTIFY subtitleScaleChanged)
    Q_PROPERTY(bool resumesConnection READ resumesConnection WRITE setResumesConnection NOTIFY
                   connectionWishesChanged)
    Q_PROPERTY(bool usesStandIn READ usesStandIn WRITE setUsesStandIn NOTIFY connectionWishesChanged)
    Q_PROPERTY(bool anyRunning READ anyRunning NOTIFY anyRunningChanged)
    Q_PROPERTY(bool canStop READ canStop NOTIFY canStopChanged)
    Q_PROPERTY(bool screenRecNeededEvent READ screenRecNeededEvent WRITE setScreenRecNeededEvent NOTIFY
                   screenRecNeededEventChanged)
    Q_PROPERTY(bool isLoggedIn READ isLoggedIn NOTIFY isLoggedInChanged)
    Q_PROPERTY(bool isSignedOut READ isSignedOut NOTIFY isLoggedInChanged)
    /// Who is signed in: as the server says, or until it has, as the sign-in is stored; empty where nobody
    /// is.
    Q_PROPERTY(QString accountEmail READ accountEmail NOTIFY accountChanged)
    Q_PROPERTY(QString mode READ modeName WRITE setModeName NOTIFY modeChanged)  ///< "solo" or "conversation"
    /// What the server can hear, by code; empty where it does not tell.
    Q_PROPERTY(QStringList heardLanguages READ heardLanguages NOTIFY accountChanged)
    Q_PROPERTY(int sessionCount READ sessionCount NOTIFY sessionsChanged)
    /// Of the sign-in page, while it is for the user to open it; empty otherwise.
    Q_PROPERTY(QString signInAddress READ signInAddress NOTIFY signInAddressChanged)
    /// What all sessions have said; its sources are numbered as the sessions are.
    Q_PROPERTY(tarn::Record* record READ record CONSTANT)
    Q_PROPERTY(tarn::RecordKeeping* recordKeeping READ recordKeeping CONSTANT)
    Q_PROPERTY(QString toastMessage READ toastMessage NOTIFY toastMessageChanged)

public:
    static constexpr std::size_t mostSessions = 4;

    static std::shared_ptr<TranslateViewModel> make(ViewModelServices services);
    ~TranslateViewModel() override;

    // Kept, and stored under the fields' own names. The interface keeps to the ranges.
    double rate() const { return rate_; }              ///< speaking rate of the dub, 0.5 to 2
    double outputGain() const { return outputGain_; }  ///< of the dub, linear, 0 to 10
    /// Whether a dub that is behind is spoken faster and, far behind, skips utterances.
    bool keepsUp() const { return keepsUp_; }
    /// Of other programs while a dub speaks: one of `OthersTurnedDown::choices`, decibels. Not over a
    /// microphone without voice processing.
    int othersTurnedDown() const { return othersTurnedDown_; }
    /// Whether the dubs of several sessions that run have places between left and right.
    bool placesDubs() const { return placesDubs_; }
    static QList<int> othersDownChoices() {
        return {OthersTurnedDown::choices.begin(), OthersTurnedDown::choices.end()};
    }
    bool tier2Expanded() const { return tier2Expanded_; }
    bool miniMode() const { return miniMode_; }
    double subtitleScale() const { return subtitleScale_; }  ///< 0.6 to 3
    AppMode mode() const { return mode_; }
    // Of a lost connection. A run takes them up when it is started next.
    bool resumesConnection() const { return connectionWishes_.resumes; }
    bool usesStandIn() const { return connectionWishes_.usesStandIn; }
    void setResumesConnection(bool value);
    void setUsesStandIn(bool value);
    void setRate(double value);           ///< heard at once, in every running session
    void setOutputGain(double value);     ///< heard at once, in every running session
    void setKeepsUp(bool value);          ///< counts at once, in every running session
    void setOthersTurnedDown(int value);  ///< to the nearest choice, at once, in every running session
    void setPlacesDubs(bool value);
    void setTier2Expanded(bool value);
    void setMiniMode(bool value);
    void setSubtitleScale(double value);
    void setMode(AppMode value);  ///< adds sessions, or stops and drops those that are too many

    // Live.
    const std::vector<AudioInputDevice>& availableMics() const { return lists_.microphones(); }
    const std::vector<AudioCapableApp>& availableApps() const { return lists_.applications(); }
    QString noAppsText() const { return lists_.noApplicationsText(); }
    void setAvailableMics(std::vector<AudioInputDevice> value) { lists_.setMicrophones(std::move(value)); }
    bool anyRunning() const { return anyRunning_; }
    /// Whether any session has something to stop: also a run that goes on after an error.
    bool canStop() const { return canStop_; }
    bool screenRecNeededEvent() const { return screenRecNeededEvent_; }
    void setScreenRecNeededEvent(bool value);
    /// Until the keyring has answered both are false. A start is possible then, and finds out.
    bool isLoggedIn() const { return signIn_.isSignedIn(); }
    bool isSignedOut() const { return signIn_.isSignedOut(); }
    const std::optional<UserAccount>& account() const { return signIn_.account(); }
    /// Null while none is shown.
    const QString& toastMessage() const { return toastMessage_; }
    const std::vector<std::shared_ptr<TranslateSession>>& sessions() const {
        return sessions_;
    }  ///< one at least
    const std::shared_ptr<TarnServerClient>& serverClient() const { return signIn_.serverClient(); }

    Record* record() { return &record_; }
    RecordKeeping* recordKeeping() { return &recordKeeping_; }

    /// What it was made with, for the views' own logic.
    const ViewModelServices& services() const { return services_; }

    std::function<void()> onAuthLost;  ///< whenever the model goes to signed out

    QStringList heardLanguages() const;
    /// What the server can translate `source` into; empty where it does not tell.
    Q_INVOKABLE QStringList targetLanguages(const QString& source) const;

    Q_INVOKABLE void addSession();
    void removeSession(const std::shared_ptr<TranslateSession>& session);
    Q_INVOKABLE void removeSession(tarn::TranslateSession* session);
    Q_INVOKABLE void startAll();
    Q_INVOKABLE void stopAll();
    void reconnect(const std::shared_ptr<TranslateSession>& session);
    Q_INVOKABLE void reconnect(tarn::TranslateSession* session);
    Q_INVOKABLE void refreshApps() { lists_.refreshApplications(); }
    Q_INVOKABLE void refreshMics() { lists_.refreshMicrophones(); }

    /// Opens the sign-in page in the browser; the answer comes back as a `tarn://` link. False where it was
    /// not opened; where the browser is the cause, `signInAddress` shows its address from then on.
    Q_INVOKABLE bool startSignIn() { return signIn_.openPage(); }
    /// The page that `startSignIn` opens; nothing where the web site is not known.
    std::optional<Url> signInPage() const { return signIn_.page(); }
    void handleLoginSucceeded() { signIn_.succeeded(); }
    void handleLoggedOut() { signIn_.lose(); }
    Q_INVOKABLE void signOut() { signIn_.signOut(); }

    /// Shows `message` for 4 seconds, in place of what is shown.
    void showToast(const QString& message);
    /// Shows `message` as the first session's error, until that starts next.
    void showTransientStatus(const QString& message);

Q_SIGNALS:
    void rateChanged();
    void outputGainChanged();
    void keepsUpChanged();
    void othersTurnedDownChanged();
    void placesDubsChanged();
    void tier2ExpandedChanged();
    void miniModeChanged();
    void subtitleScaleChanged();
    void modeChanged();
    void connectionWishesChanged();
    void availableMicsChanged();
    void availableAppsChanged();
    void anyRunningChanged();
    void canStopChanged();
    void screenRecNeededEventChanged();
    void isLoggedInChanged();
    void accountChanged();
    void accountChecked();  ///< reading the sign-in, or asking about the account, has ended, well or not
    void signInAddressChanged();
    void toastMessageChanged();
    void sessionsChanged();

private:
    explicit TranslateViewModel(ViewModelServices services);

    static Task<void> hideToast(std::weak_ptr<TranslateViewModel> weak, std::shared_ptr<Clock> clock,
                                std::uint64_t number);

    void load();
    void begin();
    void applyMode();
    void appendSession();
    std::string freeNamespace() const;  ///< the next one's, or the lowest where a live session has that
    void wireSession(const std::shared_ptr<TranslateSession>& session);
    void observeSessions();
    std::size_t numberOf(const TranslateSession& session) const;  ///< the next one where it is not listed
    void takeUtterance(const TranslateSession& session, Utterance utterance);
    std::string nameOfMicrophone(const TranslateSession& session) const;
    RecordHeader recordHeader() const;
    void sessionStateChanged(const TranslateSession& session);
    void recomputeAnyRunning();
    void propagateLiveParams();
    void placeDubs() const;
    void setLiveParams(const SessionPipeline& parts) const;
    void launchSessions(const TranslateSession::Backend& backend);
    void authFailed(TranslateSession& session);
    void showSignedOut();
    void suggestLanguages();
    TranslateSession::Backend backend() const { return TranslateSession::Backend::server(serverClient()); }
    QString modeName() const;
    void setModeName(const QString& name);
    int sessionCount() const { return static_cast<int>(sessions_.size()); }
    QString accountEmail() const { return signIn_.email(); }
    const QString& signInAddress() const { return signIn_.pageAddress(); }

    const ViewModelServices services_;
    SourceLists lists_{services_};
    SignInState signIn_{services_};
    Record record_;
    RecordKeeping recordKeeping_{services_.defaults, services_.recordFolder, services_.session.main};
    double rate_ = 1;
    double outputGain_ = 1;
    bool keepsUp_ = true;  ///< stored as "keepUp"
    int othersTurnedDown_ = OthersTurnedDown::usual;
    bool placesDubs_ = false;  ///< stored as "placeDubs"
    bool tier2Expanded_ = false;
    bool miniMode_ = false;
    double subtitleScale_ = 1;
    AppMode mode_ = AppMode::solo;
    ConnectionWishes connectionWishes_;
    bool anyRunning_ = false;
    bool canStop_ = false;
    bool screenRecNeededEvent_ = false;
    bool isStartBlind_ = false;  ///< started before it was known whether somebody is signed in
    QString toastMessage_;
    TaskHandle toastTask_;
    std::uint64_t toastNumber_ = 0;  ///< of the latest notice
    std::vector<std::shared_ptr<TranslateSession>> sessions_;
    std::vector<QMetaObject::Connection> subs_;
};

}  // namespace tarn
