#pragma once

#include <QObject>
#include <QString>
#include <QStringList>
#include <QUuid>
#include <atomic>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <type_traits>

#include "CaptureSource.h"
#include "ConnectionState.h"
#include "OpenUtterance.h"
#include "SessionPipeline.h"
#include "SessionServices.h"
#include "TarnApp/server/TarnServerClient.h"
#include "TarnPlatform/base/TaskHandle.h"
#include "TarnPlatform/settings/UserDefaults.h"
#include "UtterancePairs.h"

namespace tarn {

/// One translation of one source: its settings, its live state and, while it runs, its pipeline.
///
/// A start that comes while an earlier run is still taken apart shows `connecting` at once and begins when
/// that is done, so a stop never tears down the run that was started after it, and no two runs are heard at
/// once; a start also ends what a failed run has left. Of starts, stops and reconnects in any order,
/// observers' included, the last decides where the session ends.
///
/// Thread: `SessionServices::main` for everything. Owned by `shared_ptr`; running work holds it weakly.
class TranslateSession : public QObject, public std::enable_shared_from_this<TranslateSession> {
    Q_OBJECT
    Q_PROPERTY(QString sourceLang READ sourceLang WRITE setSourceLang NOTIFY sourceLangChanged)
    Q_PROPERTY(QString targetLang READ targetLang WRITE setTargetLang NOTIFY targetLangChanged)
    Q_PROPERTY(QString voice READ voice WRITE setVoice NOTIFY voiceChanged)
    Q_PROPERTY(QString voiceClone READ voiceClone WRITE setVoiceClone NOTIFY voiceCloneChanged)
    Q_PROPERTY(int silenceMs READ silenceMs WRITE setSilenceMs NOTIFY silenceMsChanged)
    Q_PROPERTY(
        QString captureSource READ captureSourceName WRITE setCaptureSourceName NOTIFY captureSourceChanged)
    Q_PROPERTY(QString micDeviceUID READ micDeviceUID WRITE setMicDeviceUID NOTIFY micDeviceUIDChanged)
    Q_PROPERTY(QString applicationBundleID READ applicationBundleID WRITE setApplicationBundleID NOTIFY
                   applicationBundleIDChanged)
    Q_PROPERTY(
        QString applicationName READ applicationName WRITE setApplicationName NOTIFY applicationNameChanged)
    Q_PROPERTY(
        bool voiceProcessing READ voiceProcessing WRITE setVoiceProcessing NOTIFY voiceProcessingChanged)
    Q_PROPERTY(QString state READ stateName NOTIFY stateChanged)  ///< its case: "idle", …
    Q_PROPERTY(QString sourceText READ sourceText NOTIFY sourceTextChanged)
    Q_PROPERTY(QString translationText READ translationText NOTIFY translationTextChanged)
    Q_PROPERTY(QString errorMessage READ errorMessage NOTIFY errorMessageChanged)
    Q_PROPERTY(QStringList health READ healthNames NOTIFY healthChanged)
    Q_PROPERTY(QStringList healthValues READ healthValueTexts NOTIFY healthChanged)  ///< one for each fault
    Q_PROPERTY(float inputLevel READ inputLevel NOTIFY inputLevelChanged)

public:
    /// Where a run's translation comes from.
    struct Backend {
        std::shared_ptr<TarnServerClient> client;
        static Backend server(std::shared_ptr<TarnServerClient> client) { return {std::move(client)}; }
    };

    /// Loads the settings that are stored under `storageNamespace`. Requires: made with `std::make_shared`.
    TranslateSession(std::string storageNamespace, std::shared_ptr<UserDefaults> defaults,
                     SessionServices services);
    ~TranslateSession() override;

    /// `rate`: speaking rate of the dub; `gain`: its linear loudness. Returns at once; ignored while a run is
    /// under way or on its way.
    void start(float rate, float gain, Backend backend);
    /// Returns at once. Nothing that is said from now on is heard; the texts of what was said before are
    /// waited for, until they have come, for 1.5 s, or until the next stop or start.
    void stop();
    /// Stops and, 0.3 s later, starts with the settings as they are then. Ignored unless a run is under way
    /// or on its way.
    void reconnect(float rate, float gain, Backend backend);

    const QUuid& id() const { return id_; }
    const std::string& storageNamespace() const { return storageNamespace_; }

    // Settings. Each assignment notifies and is stored, also of the same value; a run takes them up when it
    // is started next.
    const QString& sourceLang() const { return sourceLang_; }  ///< "": detect
    const QString& targetLang() const { return targetLang_; }
    const QString& voice() const { return voice_; }            ///< "": the service's own
    const QString& voiceClone() const { return voiceClone_; }  ///< passed on unchanged
    int silenceMs() const { return silenceMs_; }               ///< below 1: not sent
    CaptureSource captureSource() const { return captureSource_; }
    const QString& micDeviceUID() const { return micDeviceUID_; }  ///< "": the default input
    const QString& applicationBundleID() const { return applicationBundleID_; }
    const QString& applicationName() const { return applicationName_; }
    /// What it listens to, as people know it: an application, "Microphone", "System Audio".
    std::string sourceName() const;
    bool voiceProcessing() const { return voiceProcessing_; }
    void setSourceLang(const QString& value);
    void setTargetLang(const QString& value);
    void setVoice(const QString& value);
    void setVoiceClone(const QString& value);
    void setSilenceMs(int value);
    void setCaptureSource(CaptureSource value);
    void setMicDeviceUID(const QString& value);
    void setApplicationBundleID(const QString& value);
    void setApplicationName(const QString& value);
    void setVoiceProcessing(bool value);

    /// Whether the user has ever chosen it; what `suggestLanguages` took is no choice.
    bool hasChosenSourceLang() const { return defaults_->contains(key("sourceLang")); }
    bool hasChosenTargetLang() const { return defaults_->contains(key("targetLang")); }
    /// Takes these where nothing is chosen, and stores nothing: another server may suggest others.
    void suggestLanguages(const QString& source, const QString& target);

    // Live.
    const ConnectionState& state() const { return state_; }
    const QString& sourceText() const { return sourceText_; }            ///< of the latest utterance
    const QString& translationText() const { return translationText_; }  ///< of the latest utterance
    const QString& errorMessage() const { return errorMessage_; }        ///< null: there is none
    float inputLevel() const { return inputLevel_; }  ///< linear; 0 where nothing is captured
    /// What is wrong with a run that goes on, after an error that the service told of, too.
    const SessionFaults& health() const { return health_; }
    /// Whether a run is under way, or on its way, or goes on after an error: a stop has something to end.
    /// Changes with the state, whose signal tells it.
    bool canStop() const { return state_.isActive() || attempt_ || hasComeUp(); }
    /// Whether a run has come up, whatever the state says of it, and is not being taken apart.
    bool hasComeUp() const { return !pipeline_.isEmpty() && !isPipelineLeaving_; }
    void setState(ConnectionState value);
    void setErrorMessage(const QString& value);

    // The run's objects, absent when there is none.
    const SessionPipeline& parts() const { return pipeline_; }
    const std::shared_ptr<AudioPlayer>& player() const { return pipeline_.player; }
    const std::shared_ptr<AudioSink>& sink() const { return pipeline_.sink; }
    const std::shared_ptr<CaptureStream>& stream() const { return pipeline_.stream; }
    const std::shared_ptr<MicSession>& micSession() const { return pipeline_.micSession; }
    const std::shared_ptr<AudioResampler>& resampler() const { return pipeline_.resampler; }
    /// From the moment that it is open; the others once the run has come up.
    const std::shared_ptr<TarnTranslateStream>& serverStream() const {
        return (attempt_ ? attempt_->parts : pipeline_).serverStream;
    }

    std::function<void()> onAuthFailure;      ///< the service does not accept the user's credentials
    std::function<void()> onScreenRecNeeded;  ///< a start needs the permission to record the screen
    /// What plays a run's dub has been made and not been started, so that nothing is heard before it is set.
    std::function<void(const SessionPipeline& parts)> onVoiceMade;

Q_SIGNALS:
    void sourceLangChanged();
    void targetLangChanged();
    void voiceChanged();
    void voiceCloneChanged();
    void silenceMsChanged();
    void captureSourceChanged();
    void micDeviceUIDChanged();
    void applicationBundleIDChanged();
    void applicationNameChanged();
    void voiceProcessingChanged();
    void stateChanged();
    void sourceTextChanged();
    void translationTextChanged();
    void errorMessageChanged();
    void inputLevelChanged();
    void healthChanged();
    void sourceFinished(const QString& text);       ///< an utterance's final transcript, once it is shown
    void translationFinished(const QString& text);  ///< an utterance's final translation, once it is shown
    /// Whole utterances of the voice were not spoken, since it was too far behind; at its own speed.
    void dubSkipped(double seconds);
    void soundMissed(double seconds);  ///< sound of an outage that is never translated, here
    /// Something was said to its end, or a part of it is lost: once for each, in the order in which it was
    /// said. What lacks a text is told when a later one has it, or when the run is over. The number of the
    /// source is 0.
    void utteranceFinished(const tarn::Utterance& utterance);

private:
    using Call = std::uint64_t;  ///< numbers the calls of start, stop and reconnect

    struct Start {
        Call call;
        float rate;
        float gain;
        Backend backend;
    };

    /// What a run keeps of the session that started it.
    struct Run {
        std::weak_ptr<TranslateSession> session;
        Start start;
        SessionPipeline::Settings settings;
        SessionServices services;
        std::shared_ptr<SessionAttempt> attempt;
        std::shared_ptr<SessionTeardowns> teardowns;
    };

    /// A stop, with what it takes apart.
    struct Stop {
        Call call;
        SessionPipeline parts;
        bool ownsPipeline;  ///< the parts are the session's own, which empties with them
        SessionTeardowns::Turn turn;
    };

    static Task<void> askForMicrophone(std::weak_ptr<TranslateSession> weak, Start start);
    static Task<void> run(Run run);
    static Task<PipelineResult<void>> build(const Run& run);
    static void tellVoiceMade(const Run& run);
    // Each step adds what it makes to the attempt's parts at once. An abandoned attempt fails.
    static Task<PipelineResult<void>> startMicPipeline(const Run& run);
    static Task<PipelineResult<void>> startSystemPipeline(const Run& run,
                                                          std::optional<std::string> bundleID);
    static Task<PipelineResult<SendAudio>> openTransport(const Run& run, std::shared_ptr<DubChain> dub);
    static Task<void> readEvents(std::weak_ptr<TranslateSession> weak, Call start,
                                 std::shared_ptr<TarnTranslateStream> stream, std::shared_ptr<DubChain> dub,
                                 std::shared_ptr<Clock> clock);
    static void tellSkipped(const std::weak_ptr<TranslateSession>& weak, Call start, double seconds);
    void pairUtterances(const Run& run);
    void pair(const TarnTranslateEvent& event, Call start);
    void finishUtterances();
    void tellUtterances(const UtterancePairs::Finished& utterances);
    UtterancePairs::Now soundNow() const;
    static Task<void> tearDown(std::weak_ptr<TranslateSession> weak, Stop stop);
    bool expectsText(const SessionPipeline& parts) const;
    static Task<void> waitForLastText(std::weak_ptr<TranslateSession> weak, const Stop& stop);
    void endWait();
    static Task<void> startAgain(std::weak_ptr<TranslateSession> weak, std::shared_ptr<Clock> clock,
                                 Start next);
    static Task<void> watchConnection(std::weak_ptr<TranslateSession> weak, Call start,
                                      std::shared_ptr<TarnTranslateStream> stream);
    static std::function<void()> captureEndReceiver(const Run& run);
    void watchSound(const Run& run);
    void takeSoundFaults(SessionFaults faults, Call start);
    void takeConnection(const ConnectionHealth& now);
    void takeGap(const translate::Gap& gap);
    void showGap(double seconds);
    void markFault(SessionFault fault, bool isThere, std::string value = {});
    void setFault(SessionFault fault, bool isThere, std::string value = {});
    void showHealth();
    static std::function<void(float)> levelReceiver(const Run& run);

    void continueStart(Start start);
    void startStopping(Call call);
    void stopHearing();
    void leaveOldRun();
    void showError(Call call, const std::string& reason, const std::string& message);
    void apply(const TarnTranslateEvent& event, Call start);
    bool isLatest(Call call) const { return call == lastCall_; }
    std::string key(const char* field) const { return storageNamespace_ + "." + field; }
    QString loadText(const char* field, const char* absent) const;
    template <typename Value>
    void assign(Value& field, const std::type_identity_t<Value>& value, void (TranslateSession::*changed)(),
                const char* name);

    void setCaptureSourceName(const QString& name);
    QString captureSourceName() const;
    QString stateName() const;
    QStringList healthNames() const;
    QStringList healthValueTexts() const;

    const QUuid id_ = QUuid::createUuid();
    QString sourceLang_;
    QString targetLang_;
    QString voice_;
    QString voiceClone_;
    int silenceMs_ = 0;
    CaptureSource captureSource_ = CaptureSource::system;
    QString micDeviceUID_;
    QString applicationBundleID_;
    QString applicationName_;
    bool voiceProcessing_ = true;
    ConnectionState state_;
    QString sourceText_;
    QString translationText_;
    QString errorMessage_;
    float inputLevel_ = 0;
    SessionFaults health_;           ///< as shown
    SessionFaults transportFaults_;  ///< of the connection and the capture
    SessionFaults soundFaults_;
    double leftOut_ = 0;                                ///< seconds, in this run
    double untranslated_ = 0;                           ///< seconds of outage, since the last text
    std::unique_ptr<ScheduledCall> gapShown_;           ///< until then a gap is told of
    std::unique_ptr<ScheduledCall> soundFaultsSettle_;  ///< until then they are not shown

    SessionPipeline pipeline_;                 ///< of a run that has come up
    bool isPipelineLeaving_ = false;           ///< a stop is taking it apart
    std::shared_ptr<SessionAttempt> attempt_;  ///< of a run that has not
    Call lastCall_ = 0;
    Call lastStart_ = 0;
    Call heard_ = 0;          ///< the start whose capture's level is shown
    bool stopAsked_ = false;  ///< by the last call; the state may not show it yet
    OpenUtterance utterance_;
    std::optional<UtterancePairs> pairs_;                      ///< of the latest run
    std::shared_ptr<const std::atomic<std::uint64_t>> given_;  ///< to that run's stream, bytes of sound
    std::optional<Clock::TimePoint> heardAt_;  ///< when something that may be speech was captured last
    std::optional<Gate> lastText_;             ///< closed while a stop waits for it

    const std::shared_ptr<UserDefaults> defaults_;
    const std::string storageNamespace_;
    const SessionServices services_;
    const std::shared_ptr<SessionTeardowns> teardowns_ = std::make_shared<SessionTeardowns>(services_.main);
};

}  // namespace tarn
