#include "SessionWorld.h"

#include <stdexcept>

#include "TarnPlatform/base/Text.h"

namespace tarn::test {
namespace {

class WorldEngine final : public FakeEngine {
public:
    WorldEngine(SessionWorld& world, bool isMicrophone, std::shared_ptr<Script> script)
        : FakeEngine(std::move(script)), world_(world), isMicrophone_(isMicrophone) {}
    ~WorldEngine() override { leave(); }

    void attach(std::shared_ptr<AudioNode> node) override {
        if (const auto dub = std::dynamic_pointer_cast<AudioPlayerNode>(node)) {
            world_.dub = dub;
        }
        FakeEngine::attach(std::move(node));
    }
    Result<void> start() override {
        auto started = world_.engineStarts(isMicrophone_);
        running_ = started.has_value();
        return started;
    }
    bool isRunning() const override { return running_; }
    void turnOthersDown(double decibels) override {
        world_.told.push_back((isMicrophone_ ? "mic" : "player") + std::string(running_ ? " running " : " ") +
                              decimalText(decibels));
    }
    void setPlace(float place) override { world_.places[number_] = place; }
    void stop() override { leave(); }
    int setCurrentDevice(std::uint32_t device) override {
        world_.microphoneDevice = device;
        return 0;
    }

private:
    void leave() {
        world_.places.erase(number_);
        if (std::exchange(running_, false)) {
            world_.engineStops(isMicrophone_);
        }
    }

    SessionWorld& world_;
    const bool isMicrophone_;
    const int number_ = ++world_.enginesMade;
    bool running_ = false;
};

class WorldCapture final : public CaptureStream {
public:
    explicit WorldCapture(SessionWorld& world, std::shared_ptr<AudioSink> sink)
        : world_(world), sink_(std::move(sink)) {
        ++world_.capturesRunning;
    }
    ~WorldCapture() override {
        if (isRunning_) {
            world_.note("capture dropped");
            --world_.capturesRunning;
        }
    }

    Result<void> addStreamOutput(std::shared_ptr<StreamOutput>, StreamOutputType,
                                 std::shared_ptr<SerialQueue>) override {
        return {};
    }
    Task<Result<void>> startCapture() override { co_return Result<void>(); }
    void stopCapture(std::function<void(Result<void>)> completionHandler) override {
        world_.note("capture stop");
        if (std::exchange(isRunning_, false)) {
            --world_.capturesRunning;
        }
        world_.capturesStopping.push_back(std::move(completionHandler));
        if (!world_.capturesStopSlowly) {
            world_.stopOneCapture();
        }
    }

private:
    SessionWorld& world_;
    const std::shared_ptr<AudioSink> sink_;  // as the real one keeps it
    bool isRunning_ = true;
};

class WorldScreen final : public ScreenCaptureAccess {
public:
    explicit WorldScreen(SessionWorld& world) : world_(world) {}
    bool preflight() override { return world_.screenAllowed; }
    std::optional<Error> obstacle() override { return world_.captureObstacle; }
    bool request() override {
        world_.note("screen asked");
        return false;
    }

private:
    SessionWorld& world_;
};

class WorldOpener final : public UrlOpener {
public:
    explicit WorldOpener(SessionWorld& world) : world_(world) {}
    bool open(const std::string& url) override {
        world_.openedUrls.push_back(url);
        return world_.hasBrowser;
    }

private:
    SessionWorld& world_;
};

Task<bool> askForMicrophone(SessionWorld& world) {
    co_await world.permissionBarrier.passed();
    co_return world.microphoneGranted;
}

Task<Result<std::shared_ptr<CaptureStream>>> startCapture(SessionWorld& world,
                                                          std::shared_ptr<AudioSink> sink,
                                                          std::optional<std::string> bundleID) {
    world.note("capture " + bundleID.value_or("all"));
    const auto error = world.capture();
    world.sinks.push_back(sink);
    co_await world.captureBarrier.passed();
    if (error) {
        co_return std::unexpected(*error);
    }
    co_return std::make_shared<WorldCapture>(world, std::move(sink));
}

}  // namespace

Task<void> Barrier::passed() {
    if (!isClosed) {
        co_return;
    }
    const EventQueue<int> queue;
    waiting_.push_back(queue);
    co_await queue.next();
}

void Barrier::letOneGo() {
    if (!waiting_.empty()) {
        waiting_.front().push(0);
        waiting_.pop_front();
    }
}

void Barrier::open() {
    isClosed = false;
    while (!waiting_.empty()) {
        letOneGo();
    }
}

ScriptedStream::ScriptedStream(SessionWorld& world, int run) : world_(world), run_(run) {
    ++world_.streamsOpen;
}

ScriptedStream::~ScriptedStream() {
    if (isOpen_) {
        world_.note("stream dropped");
        --world_.streamsOpen;
    }
}

void ScriptedStream::queueAudio(std::vector<std::byte> bytes) {
    if (isOpen_) {
        world_.sent.insert(world_.sent.end(), bytes.begin(), bytes.end());
    }
}

Task<void> ScriptedStream::close() {
    world_.note("close");
    return closeHeld(world_, events_, health_, isOpen_);
}

Task<void> ScriptedStream::closeHeld(SessionWorld& world, EventQueue<TarnTranslateEvent> events,
                                     EventQueue<ConnectionHealth> health, bool& isOpen) {
    if (std::exchange(isOpen, false)) {
        --world.streamsOpen;
    }
    co_await world.closeBarrier.passed();
    events.push(translate::Closed{});
    events.finish();
    health.finish();
}

Task<ServerResult<UserAccount>> ScriptedClient::fetchMe() {
    co_await accountBarrier.passed();
    co_return account();
}

Task<ServerResult<EmptyResponse>> ScriptedClient::logout() {
    ++logouts;
    if (pat && tokensEnded != nullptr) {
        auto asking = pat();
        const TokenResult token = co_await std::move(asking);
        tokensEnded->push_back(token.value_or(std::nullopt).value_or("none"));
    }
    co_await logoutBarrier.passed();
    co_return loggedOut();
}

Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> ScriptedClient::openTranslateStream(
    std::optional<std::string> sourceLang, std::string targetLang, std::optional<std::string> voice,
    std::string voiceClone, std::optional<int> silenceMs) {
    world_.note("open " + sourceLang.value_or("-") + ">" + targetLang + " voice " + voice.value_or("-") +
                " " + voiceClone + " " + (silenceMs ? std::to_string(*silenceMs) : "-"));
    const int run = world_.run;
    const auto error = world_.open();
    if (world_.openIgnoresCancellation) {
        co_await asio::this_coro::reset_cancellation_state(asio::disable_cancellation());
    }
    co_await world_.openBarrier.passed();
    if (world_.openIgnoresCancellation) {
        co_await asio::this_coro::reset_cancellation_state(asio::enable_terminal_cancellation());
    }
    if (error) {
        co_return std::unexpected(*error);
    }
    auto stream = std::make_shared<ScriptedStream>(world_, run);
    world_.streams.push_back(stream);
    co_return stream;
}

SessionWorld::SessionWorld(std::shared_ptr<UserDefaults> kept)
    : defaults(kept ? std::move(kept) : UserDefaults::open(folder.file("settings.json"))) {
    UserDefaults::setStandard(defaults);
}

SessionWorld::~SessionWorld() {
    openBarriers();
    pass(services().lastTextLimit);  // a stop may wait so long
    UserDefaults::setStandard(nullptr);
}

SessionServices SessionWorld::services() {
    SessionServices services;
    services.main = main.get_executor();
    services.workers = workers.get_executor();
    services.clock = clock;
    services.microphoneStatus = [this] { return microphoneStatus; };
    services.requestMicrophone = [this] { return askForMicrophone(*this); };
    services.screenCapture = std::make_shared<WorldScreen>(*this);
    services.urlOpener = std::make_shared<WorldOpener>(*this);
    services.makePlayer = [this] {
        auto player = std::make_shared<AudioPlayer>(
            std::make_unique<WorldEngine>(*this, false, std::make_shared<FakeEngine::Script>()));
        players.push_back(player);
        return player;
    };
    services.makeMicSession = [this] {
        microphone->formats = {{16000, microphoneChannels}};
        auto session = std::make_shared<MicSession>(
            MicSession::Parts{std::make_unique<WorldEngine>(*this, true, microphone), &hardware_});
        microphones.push_back(session);
        return session;
    };
    services.startCapture = [this](std::shared_ptr<AudioSink> into, std::optional<std::string> bundleID) {
        return startCapture(*this, std::move(into), std::move(bundleID));
    };
    services.watchSound = [this](SoundInUse used, std::function<void(SessionFaults)> changed) {
        watchedSound = std::move(used);
        tellSound = std::move(changed);
        return std::shared_ptr<void>(nullptr, [this](void*) { watchedSound.reset(); });
    };
    return services;
}

std::shared_ptr<TranslateSession> SessionWorld::makeSession(const std::string& storageNamespace) {
    return std::make_shared<TranslateSession>(storageNamespace, defaults, services());
}

void SessionWorld::until(const std::string& what, const std::function<bool()>& isSo) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (!isSo()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("not in time: " + what);
        }
        settle();
        main.restart();
        main.run_one_for(std::chrono::milliseconds(5));
    }
}

void SessionWorld::settle() {
    std::size_t moved = 1;
    while (moved != 0) {
        main.restart();
        workers.restart();
        moved = main.poll();
        if (!workersRest) {
            moved += workers.poll();
        }
    }
}

void SessionWorld::openBarriers() {
    workersRest = false;
    capturesStopSlowly = false;
    while (!capturesStopping.empty()) {
        stopOneCapture();
    }
    for (Barrier* const barrier : {&permissionBarrier, &openBarrier, &captureBarrier, &closeBarrier,
                                   &client->accountBarrier, &client->logoutBarrier}) {
        barrier->open();
    }
}

void SessionWorld::stopOneCapture() {
    if (capturesStopping.empty()) {
        return;
    }
    const auto handler = std::move(capturesStopping.front());
    capturesStopping.erase(capturesStopping.begin());
    handler(capturesStopWithError ? failure(ErrorKind::unavailable, "not running") : Result<void>());
}

Result<void> SessionWorld::engineStarts(bool isMicrophone) {
    note(isMicrophone ? "mic start" : "player start");
    auto started = engine();
    if (started) {
        enginesRunningAtMost = std::max(enginesRunningAtMost, ++enginesRunning);
    }
    return started;
}

void SessionWorld::engineStops(bool isMicrophone) {
    note(isMicrophone ? "mic stop" : "player stop");
    --enginesRunning;
}

std::string stateText(const ConnectionState& state) {
    const std::string name(ConnectionState::nameOf(state.kind()));
    return state.kind() == ConnectionState::Case::error ? name + "(" + state.reason() + ")" : name;
}

std::shared_ptr<std::vector<std::string>> statesOf(TranslateSession& session) {
    auto states = std::make_shared<std::vector<std::string>>();
    QObject::connect(&session, &TranslateSession::stateChanged, &session,
                     [&session, states] { states->push_back(stateText(session.state())); });
    return states;
}

}  // namespace tarn::test
