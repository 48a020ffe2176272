#pragma once

#include <algorithm>
#include <boost/asio/io_context.hpp>
#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "TarnApp/server/PatProvider.h"
#include "TarnApp/session/TranslateSession.h"
#include "TarnPlatform/audioserver/AudioHardware.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "core_audio/FakeEngine.h"
#include "support/ManualClock.h"
#include "support/Program.h"

namespace tarn::test {

class SessionWorld;

/// Lets operations through, or keeps them waiting until the test lets them go.
class Barrier {
public:
    bool isClosed = false;

    Task<void> passed();
    bool hasWaiting() const { return !waiting_.empty(); }
    void letOneGo();
    void open();

private:
    std::deque<EventQueue<int>> waiting_;
};

/// A translate stream that the test speaks for.
class ScriptedStream final : public TarnTranslateStream {
public:
    ScriptedStream(SessionWorld& world, int run);
    ~ScriptedStream() override;

    const EventQueue<TarnTranslateEvent>& events() const override { return events_; }
    Task<void> sendAudio(std::vector<std::byte>) override { co_return; }
    void queueAudio(std::vector<std::byte> bytes) override;
    Task<void> close() override;
    Task<bool> waitHeard() override { co_return isOpen_; }
    bool isAlive() const override { return isOpen_; }
    Task<std::string> waitDead() override { co_return ""; }
    const EventQueue<ConnectionHealth>& health() const override { return health_; }

    int run() const { return run_; }

private:
    static Task<void> closeHeld(SessionWorld& world, EventQueue<TarnTranslateEvent> events,
                                EventQueue<ConnectionHealth> health, bool& isOpen);

    SessionWorld& world_;
    const EventQueue<TarnTranslateEvent> events_;
    const EventQueue<ConnectionHealth> health_;
    const int run_;
    bool isOpen_ = true;
};

/// An account server that answers as the test wants.
class ScriptedClient final : public TarnServerClient {
public:
    explicit ScriptedClient(SessionWorld& world) : world_(world) {}

    std::function<ServerResult<UserAccount>()> account = [] { return UserAccount{"u1", "ada@example.org"}; };
    std::function<ServerResult<EmptyResponse>()> loggedOut = [] { return EmptyResponse{}; };
    PatProvider pat;  ///< whose token a sign-out ends; none: nobody looks
    std::vector<std::string>* tokensEnded = nullptr;
    Barrier accountBarrier;
    Barrier logoutBarrier;
    int logouts = 0;

    Task<ServerResult<UserAccount>> fetchMe() override;
    Task<ServerResult<EmptyResponse>> logout() override;
    Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> openTranslateStream(
        std::optional<std::string> sourceLang, std::string targetLang, std::optional<std::string> voice,
        std::string voiceClone, std::optional<int> silenceMs) override;

private:
    SessionWorld& world_;
};

/// Everything around sessions, on one thread: what they ask for is written down in `trail`, what shall fail
/// is put in, and nothing goes on but in `settle`.
class SessionWorld {
public:
    /// `kept`: the settings; none: of its own.
    explicit SessionWorld(std::shared_ptr<UserDefaults> kept = nullptr);
    ~SessionWorld();
    SessionWorld(const SessionWorld&) = delete;
    SessionWorld& operator=(const SessionWorld&) = delete;

    SessionServices services();
    std::shared_ptr<TranslateSession> makeSession(const std::string& storageNamespace = "session.0");
    TranslateSession::Backend backend() { return TranslateSession::Backend::server(client); }

    /// Until nothing moves any more without the test.
    void settle();
    /// Settles and runs what others post, until `isSo`; throws after 30 s.
    void until(const std::string& what, const std::function<bool()>& isSo);
    void pass(std::chrono::milliseconds time) {
        clock->advance(time);
        settle();
    }
    /// Lets everything go that is kept waiting, now and from now on.
    void openBarriers();
    void stopOneCapture();

    // The fakes' own door.
    void note(std::string what) { trail.push_back(std::move(what)); }
    Result<void> engineStarts(bool isMicrophone);
    void engineStops(bool isMicrophone);

    asio::io_context main;
    asio::io_context workers;
    bool workersRest = false;
    std::shared_ptr<ManualClock> clock = std::make_shared<ManualClock>();
    TemporaryFolder folder;
    std::shared_ptr<UserDefaults> defaults;
    std::shared_ptr<ScriptedClient> client = std::make_shared<ScriptedClient>(*this);

    // What happens when it is asked for.
    bool screenAllowed = true;
    std::optional<Error> captureObstacle;
    bool microphoneGranted = true;
    AuthorizationStatus microphoneStatus = AuthorizationStatus::authorized;
    std::function<Result<void>()> engine = [] { return Result<void>(); };
    std::function<std::optional<TarnServerError>()> open = [] { return std::nullopt; };
    std::function<std::optional<Error>()> capture = [] { return std::nullopt; };
    bool capturesStopWithError = false;
    std::uint32_t microphoneChannels = 1;
    Barrier permissionBarrier;
    Barrier openBarrier;
    Barrier captureBarrier;
    Barrier closeBarrier;
    bool capturesStopSlowly = false;
    bool openIgnoresCancellation = false;

    // What there is.
    std::vector<std::string> trail;
    std::vector<std::string> told;  ///< what engines were told of others, by which they are turned down
    bool hasBrowser = true;
    std::vector<std::string> openedUrls;
    int run = 0;  ///< streams remember it when they are opened
    int enginesMade = 0;
    std::map<int, float> places;  ///< between left and right, of the engines that are left, in their order
    int enginesRunning = 0;
    int enginesRunningAtMost = 0;
    int capturesRunning = 0;
    std::vector<std::weak_ptr<ScriptedStream>> streams;
    int streamsOpen = 0;
    std::vector<std::byte> sent;
    std::vector<std::weak_ptr<AudioPlayer>> players;
    std::vector<std::weak_ptr<MicSession>> microphones;
    std::weak_ptr<AudioPlayerNode> dub;  ///< of the engine made last
    std::shared_ptr<FakeEngine::Script> microphone = std::make_shared<FakeEngine::Script>();
    std::optional<std::uint32_t> microphoneDevice;  ///< that was chosen last
    std::vector<std::function<void(Result<void>)>> capturesStopping;
    std::vector<std::weak_ptr<AudioSink>> sinks;
    std::optional<SoundInUse> watchedSound;  ///< absent: none is watched
    std::function<void(SessionFaults)> tellSound;

private:
    struct Hardware : AudioHardware {
        Result<HardwareList> read() override {
            return HardwareList{{{1, "Microphone", "mic-1", 1}, {2, "Headset", "mic-2", 1}}, 1};
        }
    };
    Hardware hardware_;
};

/// "connecting", "error(reason)" and so on.
std::string stateText(const ConnectionState& state);

/// The states a session goes through, written down from now on.
std::shared_ptr<std::vector<std::string>> statesOf(TranslateSession& session);

}  // namespace tarn::test
