#pragma once

#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <cstddef>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "QwenConfig.h"
#include "ServerEventHandler.h"
#include "TarnPlatform/concurrency/Asio.h"
#include "TarnPlatform/concurrency/Result.h"
#include "TarnPlatform/net/NetworkContext.h"
#include "TarnPlatform/net/Url.h"
#include "TarnPlatform/net/WebSocketTask.h"

namespace tarn {

/// One connection to the realtime translation service: sends the configuration and the audio, reads the
/// events, and hands transcripts and translated audio to its owner's callbacks. There is no reconnect: a new
/// connection is a new client.
///
/// Threads: an actor on a strand of its own. Public operations may be called from any executor and hop to the
/// strand; the callbacks run there, and the executor is free for other calls while one waits for the socket.
/// Ownership: by `shared_ptr` (made with `std::make_shared`); what runs in the background keeps it alive
/// until the connection ends, so the owner calls `close` when done.
class QwenClient : public std::enable_shared_from_this<QwenClient> {
public:
    /// Straight to the service, with an API key.
    QwenClient(const std::string& apiKey, QwenConfig config, AudioCallback onAudio,
               TranscriptCallback onTranscript, NetworkContext network = NetworkContext::shared());
    /// Any route. `authHeader`: the whole value of "Authorization".
    QwenClient(Url endpoint, std::string authHeader, QwenConfig config, AudioCallback onAudio,
               TranscriptCallback onTranscript, TarnEventCallback onTarnEvent,
               NetworkContext network = NetworkContext::shared());

    /// Whether the server of an open connection answers, told at each change; the first is that it stops. Set
    /// before `connect`. Thread: the client's strand.
    std::function<void(bool answers)> onAnswering;

    /// URL of the direct route on the configured service host; made on first use.
    static const Url& directEndpoint();

    /// Opens the socket and sends the configuration; both together take 60 s at most. Call once, first. After
    /// success events arrive; after a failure the client is of no more use. A refused token fails with
    /// `httpStatus` 401 and raises `unauthorized`. Cancelling the coroutine ends the attempt.
    Task<Result<void>> connect();

    /// Queues audio (s16le, 16 kHz, mono) and sends every full chunk of 1600 bytes in order. Never fails:
    /// after the connection has died the bytes are dropped. Completes when its chunks have left; a cancelled
    /// caller stops waiting, and they leave all the same.
    Task<void> sendAudio(std::vector<std::byte> bytes);

    /// No more audio is sent and no more events are read. Thread: any.
    void markDead();

    /// Ends the connection with code 1001. In any state, also twice.
    Task<void> close();

    /// Whether the connection may still be used; once false it stays so. Thread: any.
    bool isAlive() const { return alive_.load(); }
    /// Whether it died of the service's own "error" event, so that a new connection would not help. Thread:
    /// any.
    bool isRefusedByService() const { return refusedByService_.load(); }
    /// Completes once `isAlive` is false and says why, in words for people; empty after `close` and
    /// `markDead`.
    Task<std::string> waitDead();

    const AudioCallback& onAudio() const { return handler_.onAudio(); }
    const TranscriptCallback& onTranscript() const { return handler_.onTranscript(); }
    const TarnEventCallback& onTarnEvent() const { return handler_.onTarnEvent(); }

private:
    static Task<Result<void>> connectAndWait(std::shared_ptr<QwenClient> self);
    static Task<Result<void>> connectOnStrand(std::shared_ptr<QwenClient> self);
    static Task<void> sendAudioOnStrand(std::shared_ptr<QwenClient> self, std::vector<std::byte> bytes);
    static Task<void> closeOnStrand(std::shared_ptr<QwenClient> self);
    static Task<std::string> waitDeadFromAnywhere(std::shared_ptr<QwenClient> self);
    static Task<std::string> waitDeadOnStrand(std::shared_ptr<QwenClient> self);
    static Task<void> receiveLoop(std::shared_ptr<QwenClient> self, std::shared_ptr<WebSocketTask> task);
    Task<Result<void>> sendJson(std::string text);
    void handleMessage(const std::string& text);
    void die(const std::string& reason);
    std::string nextEventId(const char* prefix);

    // Fixed at birth.
    const NetworkContext network_;
    const SerialExecutor strand_;
    const Url endpoint_;
    const std::string authHeader_;
    const QwenConfig config_;

    // Strand only.
    ServerEventHandler handler_;
    std::shared_ptr<WebSocketTask> task_;  ///< the open socket; set by connect, cleared by close
    int eventCounter_ = 0;                 ///< last event id used
    std::vector<std::byte> pendingInput_;  ///< audio received and not yet sent, from `pendingStart_` on
    std::size_t pendingStart_ = 0;
    std::string deathReason_;
    asio::steady_timer deathBell_;

    // Any thread.
    std::atomic<bool> alive_{true};
    std::atomic<bool> refusedByService_{false};
};

}  // namespace tarn
