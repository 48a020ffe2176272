#include "SessionBed.h"

#include <algorithm>
#include <array>
#include <boost/asio/post.hpp>
#include <cstdlib>
#include <future>

#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnPlatform/rendering/MainMixerNode.h"

namespace tarn::bench {

class QuietSound::Engine final : public AudioEngine, public AudioInputNode {
public:
    explicit Engine(QuietSound& sound) : sound_(sound) {}
    ~Engine() override { leave(); }
    Engine(const Engine&) = delete;
    Engine& operator=(const Engine&) = delete;

    void attach(std::shared_ptr<AudioNode> node) override { nodes_.push_back(std::move(node)); }
    void connect(AudioNode& from, AudioNode& to, const AudioFormat&) override { to.setSource(&from); }
    AudioNode& mainMixerNode() override { return mixer_; }
    AudioInputNode& inputNode() override { return *this; }
    void prepare() override { mixer_.prepare(1024); }
    Result<void> start() override {
        prepare();
        const std::lock_guard lock(sound_.mutex_);
        sound_.engines_.push_back(this);
        return {};
    }
    bool isRunning() const override {
        const std::lock_guard lock(sound_.mutex_);
        return std::ranges::find(sound_.engines_, this) != sound_.engines_.end();
    }
    void stop() override { leave(); }

    AudioFormat inputFormat(std::uint32_t) override {
        return {CommonFormat::float32, 48000, 1, false, std::nullopt};
    }
    Result<void> setVoiceProcessingEnabled(bool) override { return {}; }
    AudioUnit* audioUnit() override { return nullptr; }
    void installTap(std::uint32_t, std::uint32_t, const AudioFormat&, TapBlock) override {}
    void removeTap(std::uint32_t) override {}

    void render(std::size_t frames) {
        std::array<float, 480> out{};
        for (std::size_t done = 0; done < frames; done += out.size()) {
            mixer_.renderRt(out);
        }
    }

private:
    void leave() {
        const std::lock_guard lock(sound_.mutex_);
        std::erase(sound_.engines_, this);
    }

    QuietSound& sound_;
    std::vector<std::shared_ptr<AudioNode>> nodes_;
    MainMixerNode mixer_;
};

namespace {

class QuietCapture final : public CaptureStream {
public:
    explicit QuietCapture(std::shared_ptr<AudioSink> sink) : sink_(std::move(sink)) {}
    Result<void> addStreamOutput(std::shared_ptr<StreamOutput>, StreamOutputType,
                                 std::shared_ptr<SerialQueue>) override {
        return {};
    }
    Task<Result<void>> startCapture() override { co_return Result<void>(); }
    void stopCapture(std::function<void(Result<void>)> completionHandler) override { completionHandler({}); }

private:
    const std::shared_ptr<AudioSink> sink_;
};

class QuietHardware final : public AudioHardware {
public:
    Result<HardwareList> read() override { return HardwareList{{{1, "Microphone", "mic", 1}}, 1}; }
};

}  // namespace

std::unique_ptr<AudioEngine> QuietSound::makeEngine() {
    return std::make_unique<Engine>(*this);
}

void QuietSound::render(std::size_t frames) {
    const std::lock_guard lock(mutex_);
    for (Engine* const engine : engines_) {
        engine->render(frames);
    }
}

Task<Result<std::shared_ptr<CaptureStream>>> QuietSound::startCapture(std::shared_ptr<AudioSink> sink,
                                                                      std::optional<std::string>) {
    co_return std::make_shared<QuietCapture>(std::move(sink));
}

SessionBed::SessionBed() {
    std::string path = (std::filesystem::temp_directory_path() / "tarn-bench-XXXXXX").string();
    folder_ = ::mkdtemp(path.data());
    defaults_ = UserDefaults::open(folder_ / "settings.json");
    UserDefaults::setStandard(defaults_);
}

SessionBed::~SessionBed() {
    workers_.join();
    UserDefaults::setStandard(nullptr);
    defaults_.reset();
    std::error_code ignored;
    std::filesystem::remove_all(folder_, ignored);
}

SessionServices SessionBed::services(QuietSound* sound) {
    auto services = SessionServices::real(main.get_executor());
    services.workers = workers_.get_executor();
    if (sound != nullptr) {
        struct Allowed final : ScreenCaptureAccess {
            bool preflight() override { return true; }
            bool request() override { return true; }
        };
        static QuietHardware hardware;
        services.screenCapture = std::make_shared<Allowed>();
        services.makePlayer = [sound] { return std::make_shared<AudioPlayer>(sound->makeEngine()); };
        services.makeMicSession = [sound] {
            return std::make_shared<MicSession>(
                MicSession::Parts{sound->makeEngine(), &hardware, &MicrophoneAccess::system()});
        };
        services.startCapture = QuietSound::startCapture;
        services.watchSound = SessionServices().watchSound;
    }
    return services;
}

std::shared_ptr<TranslateSession> SessionBed::makeSession(const std::string& storageNamespace,
                                                          const SessionServices& services) {
    return std::make_shared<TranslateSession>(storageNamespace, defaults_, services);
}

void SessionBed::until(const std::string& what, const std::function<bool()>& isSo,
                       std::chrono::seconds limit) {
    const auto deadline = std::chrono::steady_clock::now() + limit;
    for (main.restart(); !isSo(); main.restart()) {
        if (std::chrono::steady_clock::now() > deadline) {
            throw std::runtime_error("not in time: " + what);
        }
        main.run_one_for(std::chrono::milliseconds(50));
    }
}

void SessionBed::runFor(std::chrono::nanoseconds time) {
    main.restart();
    main.run_for(time);
}

EventServer::EventServer(Handler handler) : handler_(std::move(handler)) {
    NetworkContext context = NetworkContext::shared();
    context.executor = network_.executor();
    HttpServer::Limits limits;
    limits.maxQueuedBytes = 256UZ << 20;
    limits.idleTimeout = std::chrono::hours(24);
    std::promise<void> started;
    asio::post(context.executor, [&] {
        server_ =
            HttpServer::listen(
                context, "127.0.0.1", 0,
                [this](ServerRequest) -> Task<ServerReply> { co_return WebSocketHandler(handler_); }, limits)
                .value();
        started.set_value();
    });
    started.get_future().get();
}

EventServer::~EventServer() {
    std::promise<void> ended;
    asio::post(network_.executor(), [&] {
        server_->stop();
        ended.set_value();
    });
    ended.get_future().get();
}

std::shared_ptr<TarnServerClient> EventServer::client() const {
    const auto base = Url::parse("http://127.0.0.1:" + std::to_string(server_->port()) + "/tarn").value();
    return std::make_shared<RealTarnServerClient>(base, fixedPat("token"));
}

std::string sourceTextEvent(const std::string& text) {
    return R"({"event_id":"event_1","type":"conversation.item.input_audio_transcription.text",)"
           R"("item_id":"item_1","content_index":0,"language":"en","text":")" +
           text + R"(","stash":""})";
}

}  // namespace tarn::bench
