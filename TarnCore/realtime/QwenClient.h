#pragma once

#include <atomic>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "ConnectionHealth.h"
#include "ConnectionJudge.h"
#include "QwenConfig.h"
#include "ServerEventHandler.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Result.h"
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

    /// Sound that waits for the network is kept for this long; what is older is then left out down to
    /// `keptUnsent`, in one piece: one gap is understood better than a stutter.
    static constexpr std::chrono::seconds mostUnsent{10};
    static constexpr std::chrono::seconds keptUnsent{7};

    /// How an open connection is doing: each change, the first of them from `answering`; never `lost`. Set
    /// before `connect`. Thread: the client's strand.
    std::function<void(ConnectionHealth health)> onHealth;
    /// Awaited before a message is read: while it waits, the server has to. Set before `connect`. Thread: the
    /// client's strand.
    std::function<Task<void>()> roomForEvents;
    /// Seconds of sound that were given and are not sent. Set before `connect`. Thread: the client's strand.
    std::function<void(double seconds)> onGap;

    /// How far the service is, in order with the other callbacks. Call before `connect`. Thread: the client's
    /// strand.
    void setOnProgress(ProgressCallback onProgress) { handler_.onProgress = std::move(onProgress); }

    /// URL of the direct route on the configured service host; made on first use.
    static const Url& directEndpoint();

    /// Opens the socket and sends the configuration; both together take 60 s at most. Call once, first. After
    /// success events arrive; after a failure the client is of no more use. A refused token fails with
    /// `httpStatus` 401 and raises `unauthorized`. Cancelling the coroutine ends the attempt.
    Task<Result<void>> connect();

    /// What came with the answer of a server that refused the upgrade: its first 4 KiB, whatever they are.
    /// Once `connect` has failed.
    const std::string& refusal() const { return refusal_; }

    /// Queues audio (s16le, 16 kHz, mono) and sends every full chunk of 1600 bytes in order. Never fails:
    /// after the connection has died the bytes are dropped, and the oldest where the network is too slow.
    /// Completes when its chunks have left or were dropped; a cancelled caller stops waiting, and they leave
    /// all the same.
    Task<void> sendAudio(std::vector<std::byte> bytes);

    /// As `sendAudio`, without telling when the chunks have left. Thread: any; never waits.
    void queueAudio(std::vector<std::byte> bytes);

    /// Completes when every whole chunk given before has left and the server has read it: true; false when
    /// the connection ends first.
    Task<bool> waitHeard();

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
    static Task<void> sendLoop(std::shared_ptr<QwenClient> self, std::shared_ptr<WebSocketTask> task);
    static Task<void> waitUntilGone(std::shared_ptr<QwenClient> self, std::uint64_t position);
    static Task<bool> waitHeardOnStrand(std::shared_ptr<QwenClient> self);
    static Task<void> closeOnStrand(std::shared_ptr<QwenClient> self);
    static Task<std::string> waitDeadFromAnywhere(std::shared_ptr<QwenClient> self);
    static Task<std::string> waitDeadOnStrand(std::shared_ptr<QwenClient> self);
    static Task<void> receiveLoop(std::shared_ptr<QwenClient> self, std::shared_ptr<WebSocketTask> task);
    Task<Result<void>> sendJson(std::string text);
    void handleMessage(const std::string& text);
    void takeAudio(std::span<const std::byte> bytes);
    void dropWholeChunks();
    std::size_t unsentBytes() const { return pendingInput_.size() - pendingStart_; }
    std::uint64_t wholeChunksEnd() const;
    void leaveOutOldest();
    void passed(std::size_t bytes);
    void forgetSent();
    void judge(const WebSocketPulse& pulse);
    void ringAll();
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
    std::uint64_t gone_ = 0;  ///< bytes that have left or were left out, of all that were given
    std::uint64_t given_ = 0;
    bool isConnected_ = false;  ///< the loops run
    bool isLeaving_ = false;    ///< a chunk that counts neither as unsent nor as gone
    bool hasLeftOut_ = false;
    /// A caller that waits until `gone_` has come to its `position`.
    struct Waiter {
        std::uint64_t position = 0;
        std::shared_ptr<asio::steady_timer> bell;
    };
    std::deque<Waiter> waiters_;  ///< by position
    ConnectionJudge judge_;
    std::string deathReason_;
    std::string refusal_;
    asio::steady_timer deathBell_;
    asio::steady_timer leavingBell_;  ///< cancelled when a chunk is being given to the socket
    asio::steady_timer chunkBell_;    ///< cancelled when the send loop has to look for a chunk

    // Any thread.
    std::atomic<bool> alive_{true};
    std::atomic<bool> refusedByService_{false};
};

}  // namespace tarn
