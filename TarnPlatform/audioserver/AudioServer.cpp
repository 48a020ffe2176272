#include "AudioServer.h"

#include <pipewire/pipewire.h>
#include <unistd.h>

#include <algorithm>
#include <random>
#include <utility>

#include "AudioServerError.h"
#include "GraphMirror.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {

namespace {

constexpr std::chrono::milliseconds retryEvery{500};

class LoopTimer : public AudioServer::Timer {
public:
    LoopTimer(pw_loop* loop, std::chrono::milliseconds interval, std::function<void()> task)
        : loop_(loop), task_(std::make_shared<std::function<void()>>(std::move(task))) {
        source_ = pw_loop_add_timer(loop_, &LoopTimer::expired, this);
        const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(interval);
        const std::chrono::nanoseconds rest = interval - seconds;
        timespec when{.tv_sec = seconds.count(), .tv_nsec = rest.count()};
        pw_loop_update_timer(loop_, source_, &when, &when, false);
    }
    ~LoopTimer() override { pw_loop_destroy_source(loop_, source_); }
    LoopTimer(const LoopTimer&) = delete;
    LoopTimer& operator=(const LoopTimer&) = delete;

private:
    static void expired(void* self, std::uint64_t) {
        const auto task = static_cast<LoopTimer*>(self)->task_;  // kept: it may end the timer
        (*task)();
    }

    pw_loop* const loop_;
    const std::shared_ptr<std::function<void()>> task_;
    spa_source* source_ = nullptr;
};

class LoopBell : public AudioServer::Bell {
public:
    LoopBell(pw_loop* loop, std::function<void()> task) : loop_(loop), task_(std::move(task)) {
        source_ = pw_loop_add_event(loop_, &LoopBell::rung, this);
    }
    ~LoopBell() override { pw_loop_destroy_source(loop_, source_); }
    LoopBell(const LoopBell&) = delete;
    LoopBell& operator=(const LoopBell&) = delete;

    void ringRt() noexcept override { pw_loop_signal_event(loop_, source_); }

private:
    static void rung(void* self, std::uint64_t) { static_cast<LoopBell*>(self)->task_(); }

    pw_loop* const loop_;
    const std::function<void()> task_;
    spa_source* source_ = nullptr;
};

// Every object of this process in the graph carries the tag, since the process id in its properties is what
// the client says and another container may have the same one.
std::string freshTag() {
    std::random_device random;
    return std::to_string(getpid()) + "-" + std::to_string(random()) + std::to_string(random());
}

}  // namespace

struct AudioServer::Loop {
    pw_thread_loop* thread = nullptr;
    pw_context* context = nullptr;

    Loop() {
        static const bool initialised = (pw_init(nullptr, nullptr), true);
        static_cast<void>(initialised);
        thread = pw_thread_loop_new("tarn.audio.loop", nullptr);
        // The variant of the client's settings that asks for real-time rights for the stream's thread.
        context =
            pw_context_new(pw_thread_loop_get_loop(thread),
                           pw_properties_new(PW_KEY_CONFIG_NAME, "client-rt.conf", PW_KEY_APP_NAME, "Tarn",
                                             AudioServer::instanceKey, instanceTag().c_str(), nullptr),
                           0);
        pw_thread_loop_start(thread);
    }
    ~Loop() {
        pw_thread_loop_stop(thread);
        if (context != nullptr) {
            pw_context_destroy(context);
        }
        pw_thread_loop_destroy(thread);
    }
    Loop(const Loop&) = delete;
    Loop& operator=(const Loop&) = delete;

    pw_loop* loop() const { return pw_thread_loop_get_loop(thread); }
};

struct AudioServer::Connection {
    AudioServer& server;
    pw_core* core;
    spa_hook hook{};
    std::unique_ptr<GraphMirror> mirror;
    int answered = -1;  ///< the last round trip that came back
    bool broken = false;

    static void answeredTo(void* self, std::uint32_t id, int sequence) {
        if (id == PW_ID_CORE) {
            auto& connection = *static_cast<Connection*>(self);
            connection.answered = sequence;
            connection.server.wake();
        }
    }

    static void failed(void* self, std::uint32_t id, int, int result, const char*) {
        // Errors of other objects tell of things that have just gone; only the core's own end the connection.
        if (id == PW_ID_CORE && result == -EPIPE) {
            static_cast<Connection*>(self)->server.lost();
        }
    }

    static constexpr pw_core_events events = {.version = PW_VERSION_CORE_EVENTS,
                                              .info = nullptr,
                                              .done = &Connection::answeredTo,
                                              .ping = nullptr,
                                              .error = &Connection::failed,
                                              .remove_id = nullptr,
                                              .bound_id = nullptr,
                                              .add_mem = nullptr,
                                              .remove_mem = nullptr};

    Connection(AudioServer& itsServer, pw_core* itsCore) : server(itsServer), core(itsCore) {
        pw_core_add_listener(core, &hook, &events, this);
        mirror = std::make_unique<GraphMirror>(core, [this] { server.changed(); });
    }
    ~Connection() {
        mirror.reset();
        spa_hook_remove(&hook);
        pw_core_disconnect(core);
    }
    Connection(const Connection&) = delete;
    Connection& operator=(const Connection&) = delete;
};

AudioServer::Lock::Lock(AudioServer& server) : server_(server) {
    pw_thread_loop_lock(server_.loop_->thread);
}

AudioServer::Lock::~Lock() {
    pw_thread_loop_unlock(server_.loop_->thread);
}

AudioServer::AudioServer() : loop_(std::make_unique<Loop>()) {}

AudioServer::~AudioServer() {
    const Lock lock(*this);
    retry_.reset();
    connection_.reset();
}

AudioServer& AudioServer::shared() {
    // It is never destroyed, since a worker may still wait for it when the process ends.
    static auto& server = *new AudioServer;
    return server;
}

const std::string& AudioServer::instanceTag() {
    static const std::string tag = freshTag();
    return tag;
}

bool AudioServer::isOwn(const Graph& graph, const GraphNode& node) {
    static const std::string processId = std::to_string(getpid());
    if (property(graph, node, instanceKey) == instanceTag() ||
        property(graph, node, "application.process.id") == processId) {
        return true;
    }
    const GraphClient* client = graph.clientOf(node);
    return client != nullptr &&
           (client->id == graph.ownClient || property(client->properties, "pipewire.sec.pid") == processId);
}

Result<void> AudioServer::connect() {
    dropBrokenConnection();
    if (connection_ != nullptr) {
        return {};
    }
    if (loop_->context == nullptr) {
        return failure(ErrorKind::unavailable, "the audio server's client library could not be set up");
    }
    pw_core* core = pw_context_connect(loop_->context, nullptr, 0);
    if (core == nullptr) {
        return audioServerAbsent();
    }
    ++connections_;
    connection_ = std::make_unique<Connection>(*this, core);
    forEachObserver([](AudioServerObserver& observer) { observer.connected(); });
    return {};
}

// Called from inside the connection, which therefore goes a little later.
void AudioServer::lost() {
    if (connection_->broken) {
        return;
    }
    connection_->broken = true;
    if (!observers_.empty()) {
        logLine("[audio] the audio server went away; trying to reach it again");
        retry_ = startTimer(retryEvery, [this] { tryAgain(); });
    }
    wake();
}

void AudioServer::dropBrokenConnection() {
    if (connection_ != nullptr && connection_->broken) {
        forEachObserver([](AudioServerObserver& observer) { observer.disconnected(); });
        connection_.reset();
    }
}

void AudioServer::tryAgain() {
    if (observers_.empty() || connect()) {
        retry_.reset();
    }
}

// An observer may leave, or take others with it, while it is called; so a copy of the list is walked, and
// each is looked up again before its turn.
void AudioServer::forEachObserver(const std::function<void(AudioServerObserver&)>& tell) {
    for (AudioServerObserver* observer : std::vector(observers_)) {
        if (std::ranges::find(observers_, observer) != observers_.end()) {
            tell(*observer);
        }
    }
}

void AudioServer::changed() {
    forEachObserver([this](AudioServerObserver& observer) { observer.graphChanged(graph()); });
    wake();
}

Result<void> AudioServer::addObserver(AudioServerObserver& observer) {
    const Lock lock(*this);
    if (auto connected = connect(); !connected) {
        return connected;
    }
    observers_.push_back(&observer);
    observer.connected();
    return {};
}

void AudioServer::removeObserver(AudioServerObserver& observer) {
    const Lock lock(*this);
    std::erase(observers_, &observer);
}

Result<void> AudioServer::roundTrip(std::chrono::steady_clock::time_point deadline) {
    const int sequence = pw_core_sync(connection_->core, PW_ID_CORE, 0);
    const std::uint64_t mine = connections_;
    const auto alive = [this, mine] {
        return connection_ != nullptr && connections_ == mine && !connection_->broken;
    };
    const auto left =
        std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
    const bool done = waitUntil([&] { return !alive() || connection_->answered >= sequence; },
                                std::max(left, std::chrono::milliseconds(0)));
    if (!alive()) {
        return audioServerAbsent();
    }
    if (!done) {
        return audioServerSilent();
    }
    return {};
}

Result<void> AudioServer::reach() {
    const Lock lock(*this);
    return connect();
}

Result<Graph> AudioServer::snapshot() {
    const Lock lock(*this);
    Result<void> fresh = connect();
    const auto deadline = std::chrono::steady_clock::now() + answerLimit;
    // The first answer completes the list of what is there, the second what each says of itself.
    for (int trip = 0; trip < 2 && fresh; ++trip) {
        fresh = roundTrip(deadline);
    }
    if (!fresh) {
        return std::unexpected(fresh.error());
    }
    return graph();
}

bool AudioServer::waitUntil(const std::function<bool()>& done, std::chrono::milliseconds limit) {
    timespec deadline{};
    // The wait gives the loop's lock free, so that the answer can come; a spurious wake-up is why the
    // condition is asked again.
    pw_thread_loop_get_time(loop_->thread, &deadline, std::chrono::nanoseconds(limit).count());
    while (!done()) {
        if (pw_thread_loop_timed_wait_full(loop_->thread, &deadline) != 0) {
            return done();
        }
    }
    return true;
}

void AudioServer::wake() {
    pw_thread_loop_signal(loop_->thread, false);
}

std::unique_ptr<AudioServer::Timer> AudioServer::startTimer(std::chrono::milliseconds interval,
                                                            std::function<void()> task) {
    return std::make_unique<LoopTimer>(loop_->loop(), interval, std::move(task));
}

std::unique_ptr<AudioServer::Bell> AudioServer::makeBell(std::function<void()> task) {
    return std::make_unique<LoopBell>(loop_->loop(), std::move(task));
}

const Graph& AudioServer::graph() const {
    return connection_ == nullptr ? none_ : connection_->mirror->graph();
}

void AudioServer::setVolumeFactor(GraphId node, float factor) {
    if (core() != nullptr) {
        connection_->mirror->setVolumeFactor(node, factor);
    }
}

pw_core* AudioServer::core() const {
    return connection_ == nullptr || connection_->broken ? nullptr : connection_->core;
}

}  // namespace tarn
