#include "QwenClient.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <span>

#include "EventNames.h"
#include "EventProtocol.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/base/CarryOut.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds connectLimit{60};
constexpr std::size_t chunkBytes = qwenChunkBytes;
constexpr std::size_t bytesPerSecond = static_cast<std::size_t>(qwenInputSampleRate) * 2;
/// Sent bytes that may stand before the unsent ones.
constexpr std::size_t mostSentKept = 64 * chunkBytes;

double secondsOf(std::size_t bytes) {
    return static_cast<double>(bytes) / static_cast<double>(bytesPerSecond);
}

}  // namespace

QwenClient::QwenClient(const std::string& apiKey, QwenConfig config, AudioCallback onAudio,
                       TranscriptCallback onTranscript, NetworkContext network)
    : QwenClient(directEndpoint(), "Bearer " + apiKey, std::move(config), std::move(onAudio),
                 std::move(onTranscript), nullptr, std::move(network)) {}

QwenClient::QwenClient(Url endpoint, std::string authHeader, QwenConfig config, AudioCallback onAudio,
                       TranscriptCallback onTranscript, TarnEventCallback onTarnEvent, NetworkContext network)
    : network_(std::move(network)),
      strand_(asio::make_strand(network_.executor)),
      endpoint_(std::move(endpoint)),
      authHeader_(std::move(authHeader)),
      config_(std::move(config)),
      handler_(std::move(onAudio), std::move(onTranscript), std::move(onTarnEvent)),
      deathBell_(strand_, asio::steady_timer::time_point::max()),
      leavingBell_(strand_, asio::steady_timer::time_point::max()),
      chunkBell_(strand_, asio::steady_timer::time_point::max()) {}

const Url& QwenClient::directEndpoint() {
    static const Url endpoint = [] {
        const auto url = Url::parse("wss://" + Deployment::serviceHost() + std::string(serviceRoute));
        return url.value_or(Url());
    }();
    return endpoint;
}

// A coroutine starts when it is first awaited, maybe after the caller has let go of the client; so each gets
// its shared pointer here.

Task<Result<void>> QwenClient::connect() {
    return connectAndWait(shared_from_this());
}

Task<void> QwenClient::sendAudio(std::vector<std::byte> bytes) {
    return carryOut(strand_, sendAudioOnStrand(shared_from_this(), std::move(bytes)));
}

void QwenClient::queueAudio(std::vector<std::byte> bytes) {
    asio::post(strand_, [self = shared_from_this(), bytes = std::move(bytes)] { self->takeAudio(bytes); });
}

Task<bool> QwenClient::waitHeard() {
    return carryOut(strand_, waitHeardOnStrand(shared_from_this()));
}

Task<void> QwenClient::close() {
    return carryOut(strand_, closeOnStrand(shared_from_this()));
}

Task<std::string> QwenClient::waitDead() {
    return waitDeadFromAnywhere(shared_from_this());
}

void QwenClient::markDead() {
    alive_ = false;
    asio::post(strand_, [self = shared_from_this()] { self->ringAll(); });
}

Task<Result<void>> QwenClient::connectAndWait(std::shared_ptr<QwenClient> self) {
    /// Ends the attempt when the caller gives up waiting for it.
    struct Attempt {
        ~Attempt() {
            if (!decided) {
                asio::post(client->strand_, [client = client] {
                    client->alive_ = false;
                    if (client->task_) {
                        client->task_->cancel(closeGoingAway);
                    }
                });
            }
        }
        std::shared_ptr<QwenClient> client;
        bool decided = false;
    };
    Attempt attempt{self};
    auto connected = co_await carryOut(self->strand_, connectOnStrand(self));
    attempt.decided = true;
    co_return connected;
}

Task<Result<void>> QwenClient::connectOnStrand(std::shared_ptr<QwenClient> self) {
    const auto& clock = *self->network_.clock;
    const auto deadline = clock.now() + connectLimit;
    WebSocketRequest request;
    request.url = self->endpoint_;
    request.headers.push_back({"Authorization", self->authHeader_});
    request.headers.push_back({"User-Agent", Deployment::userAgent});
    request.timeout = connectLimit;
    if (self->onHealth) {
        request.onPulse = [weak = self->weak_from_this()](const WebSocketPulse& pulse) {
            if (const auto client = weak.lock()) {
                client->judge(pulse);
            }
        };
    }
    const auto task = WebSocketTask::make(self->strand_, std::move(request), self->network_);
    self->task_ = task;
    auto opened = co_await task->resume();
    if (!opened) {
        self->refusal_ = task->refusal();
        if (task->upgradeStatus() == 401 && self->onTarnEvent()) {
            self->onTarnEvent()(TarnServerEvent::unauthorized());
        }
        co_return opened;
    }
    bool late = false;
    const auto limit = self->network_.clock->callAfter(self->strand_, deadline - clock.now(), [task, &late] {
        late = true;
        task->cancel(closeGoingAway);
    });
    auto update = sessionUpdateEvent(self->nextEventId("evt_init_"), self->config_);
    auto sent = co_await self->sendJson(std::move(update));
    if (late || !sent) {
        task->cancel(closeGoingAway);
    }
    if (late) {
        co_return failure(ErrorKind::timeout,
                          "the server has not taken the settings within the time to connect");
    }
    if (!sent) {
        co_return sent;
    }
    self->isConnected_ = true;
    asio::co_spawn(self->strand_, receiveLoop(self, task), asio::detached);
    asio::co_spawn(self->strand_, sendLoop(self, task), asio::detached);
    co_return Result<void>();
}

Task<Result<void>> QwenClient::sendJson(std::string text) {
    const auto task = task_;
    if (!task) {
        co_return Result<void>();
    }
    co_return co_await task->send(std::move(text));
}

void QwenClient::takeAudio(std::span<const std::byte> bytes) {
    if (!alive_) {
        return;
    }
    pendingInput_.insert(pendingInput_.end(), bytes.begin(), bytes.end());
    given_ += bytes.size();
    if (isConnected_) {
        leaveOutOldest();
        chunkBell_.cancel();
    } else {
        dropWholeChunks();
    }
}

/// Chunks that no socket can take get their event ids all the same.
void QwenClient::dropWholeChunks() {
    const auto chunks = unsentBytes() / chunkBytes;
    eventCounter_ += static_cast<int>(chunks);
    pendingStart_ += chunks * chunkBytes;
    forgetSent();
    passed(chunks * chunkBytes);
}

Task<void> QwenClient::sendAudioOnStrand(std::shared_ptr<QwenClient> self, std::vector<std::byte> bytes) {
    self->takeAudio(bytes);
    co_await waitUntilGone(self, self->wholeChunksEnd());
}

Task<void> QwenClient::sendLoop(std::shared_ptr<QwenClient> self, std::shared_ptr<WebSocketTask> task) {
    auto& pending = self->pendingInput_;
    auto& start = self->pendingStart_;
    while (self->alive_) {
        if (self->unsentBytes() < chunkBytes) {
            co_await self->chunkBell_.async_wait(asValue);
            continue;
        }
        auto event =
            audioAppendEvent(self->nextEventId("evt_a_"), std::span(pending).subspan(start, chunkBytes));
        start += chunkBytes;
        self->isLeaving_ = true;
        self->leavingBell_.cancel();
        const auto sent = co_await task->send(std::move(event));
        self->isLeaving_ = false;
        if (!sent) {
            if (self->alive_) {
                logLine("[qwen] send failed: " + sent.error().description);
            }
            self->die(sent.error().description);
            co_return;
        }
        self->passed(chunkBytes);
        if (self->unsentBytes() < chunkBytes || start > mostSentKept) {
            self->forgetSent();
        }
    }
}

/// Where the last whole chunk ends among all the bytes that were given; the one that is leaving counts.
std::uint64_t QwenClient::wholeChunksEnd() const {
    return gone_ + (isLeaving_ ? chunkBytes : 0) + unsentBytes() / chunkBytes * chunkBytes;
}

void QwenClient::leaveOutOldest() {
    if (unsentBytes() <= static_cast<std::size_t>(mostUnsent.count()) * bytesPerSecond) {
        return;
    }
    // Only whole chunks go, so that the limits of samples and chunks stay where they were.
    const auto excess = unsentBytes() - static_cast<std::size_t>(keptUnsent.count()) * bytesPerSecond;
    const auto leftOut = (excess + chunkBytes - 1) / chunkBytes * chunkBytes;
    pendingStart_ += leftOut;
    forgetSent();
    passed(leftOut);
    if (!hasLeftOut_) {
        hasLeftOut_ = true;
        logLine("[qwen] the connection is too slow: sound is left out");
    }
    if (onGap) {
        onGap(secondsOf(leftOut));
    }
}

void QwenClient::passed(std::size_t bytes) {
    gone_ += bytes;
    while (!waiters_.empty() && waiters_.front().position <= gone_) {
        waiters_.front().bell->cancel();
        waiters_.pop_front();
    }
}

void QwenClient::forgetSent() {
    pendingInput_.erase(pendingInput_.begin(),
                        pendingInput_.begin() + static_cast<std::ptrdiff_t>(pendingStart_));
    pendingStart_ = 0;
}

Task<void> QwenClient::waitUntilGone(std::shared_ptr<QwenClient> self, std::uint64_t position) {
    if (!self->alive_ || self->gone_ >= position) {
        co_return;
    }
    const auto bell =
        std::make_shared<asio::steady_timer>(self->strand_, asio::steady_timer::time_point::max());
    self->waiters_.push_back({position, bell});
    co_await bell->async_wait(asValue);
}

Task<bool> QwenClient::waitHeardOnStrand(std::shared_ptr<QwenClient> self) {
    co_await waitUntilGone(self, self->wholeChunksEnd());
    const auto task = self->task_;
    if (!self->alive_ || !task) {
        co_return false;
    }
    const auto answered = co_await task->roundTrip();
    co_return answered.has_value();
}

void QwenClient::judge(const WebSocketPulse& pulse) {
    const auto now = network_.clock->now();
    if (auto changed = judge_.take(pulse, secondsOf(unsentBytes()), secondsOf(given_), now);
        changed && alive_) {
        onHealth(std::move(*changed));
    }
}

Task<void> QwenClient::receiveLoop(std::shared_ptr<QwenClient> self, std::shared_ptr<WebSocketTask> task) {
    while (self->alive_) {
        if (self->roomForEvents) {
            co_await self->roomForEvents();
            if (!self->alive_) {
                co_return;
            }
        }
        auto message = co_await task->receive();
        if (message) {
            self->handleMessage(message->payload);
            continue;
        }
        if (self->alive_) {
            logLine("[qwen] recv ended: " + message.error().description);
        }
        self->die(message.error().description);
        // The account server answers a token that it has revoked meanwhile with this status or this close
        // code.
        const bool refused = task->upgradeStatus() == 401 || task->closeCode() == 4001;
        if (refused && self->onTarnEvent()) {
            self->onTarnEvent()(TarnServerEvent::unauthorized());
        }
    }
}

void QwenClient::handleMessage(const std::string& text) {
    if (handler_.handle(text) == ServerEventHandler::Verdict::stop) {
        asio::post(strand_, [self = shared_from_this()] {
            self->refusedByService_ = self->isAlive();
            self->die(self->handler_.complaint());
        });
    }
}

Task<void> QwenClient::closeOnStrand(std::shared_ptr<QwenClient> self) {
    // A chunk that was given before the close leaves before the closing handshake, which the socket sees to
    // once it has the chunk.
    while (self->alive_ && self->isConnected_ && !self->isLeaving_ && self->unsentBytes() >= chunkBytes) {
        co_await self->leavingBell_.async_wait(asValue);
    }
    self->alive_ = false;
    self->ringAll();
    const auto task = std::exchange(self->task_, nullptr);
    if (task) {
        task->cancel(closeGoingAway);
        co_await task->waitClosed();
    }
}

Task<std::string> QwenClient::waitDeadFromAnywhere(std::shared_ptr<QwenClient> self) {
    co_return co_await asio::co_spawn(self->strand_, waitDeadOnStrand(self), asio::use_awaitable);
}

Task<std::string> QwenClient::waitDeadOnStrand(std::shared_ptr<QwenClient> self) {
    while (self->alive_) {
        co_await self->deathBell_.async_wait(asValue);
    }
    co_return self->deathReason_;
}

void QwenClient::die(const std::string& reason) {
    if (alive_.exchange(false)) {
        deathReason_ = reason;
    }
    ringAll();
}

void QwenClient::ringAll() {
    deathBell_.cancel();
    leavingBell_.cancel();
    chunkBell_.cancel();
    for (const auto& waiter : waiters_) {
        waiter.bell->cancel();
    }
    waiters_.clear();
}

std::string QwenClient::nextEventId(const char* prefix) {
    return prefix + std::to_string(++eventCounter_);
}

}  // namespace tarn
