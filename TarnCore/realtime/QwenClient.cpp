#include "QwenClient.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/this_coro.hpp>
#include <span>

#include "EventProtocol.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/logging/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds connectLimit{60};
constexpr std::size_t chunkBytes = qwenChunkBytes;

/// A caller that is cancelled while it waits must not tear a frame in two: what has begun here runs to its end.
auto shieldFromCaller() {
    return asio::this_coro::reset_cancellation_state(asio::disable_cancellation());
}

}  // namespace

QwenClient::QwenClient(const std::string& apiKey, QwenConfig config, AudioCallback onAudio,
                       TranscriptCallback onTranscript, NetworkContext network)
    : QwenClient(directEndpoint(), "Bearer " + apiKey, std::move(config), std::move(onAudio), std::move(onTranscript),
                 nullptr, std::move(network)) {}

QwenClient::QwenClient(Url endpoint, std::string authHeader, QwenConfig config, AudioCallback onAudio,
                       TranscriptCallback onTranscript, TarnEventCallback onTarnEvent, NetworkContext network)
    : network_(std::move(network)),
      strand_(asio::make_strand(network_.executor)),
      endpoint_(std::move(endpoint)),
      authHeader_(std::move(authHeader)),
      config_(std::move(config)),
      handler_(std::move(onAudio), std::move(onTranscript), std::move(onTarnEvent)),
      deathBell_(strand_, asio::steady_timer::time_point::max()) {}

const Url& QwenClient::directEndpoint() {
    static const Url endpoint = [] {
        const auto url = Url::parse("wss://" + Deployment::serviceHost() +
                                    "/api-ws/v1/realtime?model=qwen3.5-livetranslate-flash-realtime");
        return url.value_or(Url());
    }();
    return endpoint;
}

Task<Result<void>> QwenClient::connect() {
    const auto self = shared_from_this();
    co_return co_await asio::co_spawn(strand_, connectOnStrand(), asio::use_awaitable);
}

Task<void> QwenClient::sendAudio(std::vector<std::byte> bytes) {
    const auto self = shared_from_this();
    co_await asio::co_spawn(strand_, sendAudioOnStrand(std::move(bytes)), asio::use_awaitable);
}

void QwenClient::markDead() {
    alive_ = false;
    asio::post(strand_, [self = shared_from_this()] { self->deathBell_.cancel(); });
}

Task<void> QwenClient::close() {
    const auto self = shared_from_this();
    co_await asio::co_spawn(strand_, closeOnStrand(), asio::use_awaitable);
}

Task<std::string> QwenClient::waitDead() {
    const auto self = shared_from_this();
    co_return co_await asio::co_spawn(strand_, waitDeadOnStrand(), asio::use_awaitable);
}

Task<Result<void>> QwenClient::connectOnStrand() {
    co_await shieldFromCaller();
    const auto deadline = network_.clock->now() + connectLimit;
    WebSocketRequest request;
    request.url = endpoint_;
    request.headers.push_back({"Authorization", authHeader_});
    request.timeout = connectLimit;
    const auto task = WebSocketTask::make(strand_, std::move(request), network_);
    task_ = task;
    auto opened = co_await task->resume();
    if (!opened) {
        if (task->upgradeStatus() == 401 && onTarnEvent()) {
            onTarnEvent()(TarnServerEvent::unauthorized());
        }
        co_return opened;
    }
    const auto limit = network_.clock->callAfter(strand_, deadline - network_.clock->now(),
                                                 [task] { task->cancel(closeGoingAway); });
    auto sent = co_await sendJson(sessionUpdateEvent(nextEventId("evt_init_"), config_));
    if (!sent) {
        co_return sent;
    }
    asio::co_spawn(strand_, receiveLoop(shared_from_this(), task), asio::detached);
    co_return Result<void>();
}

Task<Result<void>> QwenClient::sendJson(std::string text) {
    const auto task = task_;
    if (!task) {
        co_return Result<void>();
    }
    co_return co_await task->send(std::move(text));
}

Task<void> QwenClient::sendAudioOnStrand(std::vector<std::byte> bytes) {
    co_await shieldFromCaller();
    if (!alive_) {
        co_return;
    }
    pendingInput_.insert(pendingInput_.end(), bytes.begin(), bytes.end());
    while (pendingInput_.size() - pendingStart_ >= chunkBytes) {
        const auto chunk = std::span(pendingInput_).subspan(pendingStart_, chunkBytes);
        auto event = audioAppendEvent(nextEventId("evt_a_"), chunk);
        pendingStart_ += chunkBytes;
        const auto sent = co_await sendJson(std::move(event));
        if (!sent) {
            if (alive_) {
                logLine("[qwen] send failed: " + sent.error().description);
            }
            die(sent.error().description);
            co_return;
        }
    }
    // Other calls may have added audio during a wait; whoever comes last moves the remainder to the front.
    pendingInput_.erase(pendingInput_.begin(), pendingInput_.begin() + static_cast<std::ptrdiff_t>(pendingStart_));
    pendingStart_ = 0;
}

Task<void> QwenClient::receiveLoop(std::shared_ptr<QwenClient> self, std::shared_ptr<WebSocketTask> task) {
    while (self->alive_) {
        auto message = co_await task->receive();
        if (message) {
            self->handleMessage(message->payload);
            continue;
        }
        if (self->alive_) {
            logLine("[qwen] recv ended: " + message.error().description);
        }
        self->die(message.error().description);
        const bool refused = task->upgradeStatus() == 401 || task->closeCode() == 4001;
        if (refused && self->onTarnEvent()) {
            self->onTarnEvent()(TarnServerEvent::unauthorized());
        }
    }
}

void QwenClient::handleMessage(const std::string& text) {
    if (handler_.handle(text) == ServerEventHandler::Verdict::stop) {
        asio::post(strand_, [self = shared_from_this()] { self->die("the service reported an error"); });
    }
}

Task<void> QwenClient::closeOnStrand() {
    co_await shieldFromCaller();
    alive_ = false;
    deathBell_.cancel();
    const auto task = std::exchange(task_, nullptr);
    if (task) {
        task->cancel(closeGoingAway);
        co_await task->waitClosed();
    }
}

Task<std::string> QwenClient::waitDeadOnStrand() {
    while (alive_) {
        co_await deathBell_.async_wait(asValue);
    }
    co_return deathReason_;
}

void QwenClient::die(const std::string& reason) {
    if (alive_.exchange(false)) {
        deathReason_ = reason;
    }
    deathBell_.cancel();
}

std::string QwenClient::nextEventId(const char* prefix) {
    return prefix + std::to_string(++eventCounter_);
}

}  // namespace tarn
