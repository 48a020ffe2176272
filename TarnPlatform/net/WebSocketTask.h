#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Http.h"
#include "NetworkContext.h"
#include "TarnPlatform/base/Result.h"
#include "Url.h"

namespace tarn {

/// How the peer of an open connection answers.
struct WebSocketPulse {
    /// How long nothing has been heard while a ping waits for its answer; 0 where none has waited for
    /// `WebSocketTask::pongLimit`.
    Clock::Duration silence{};
    /// Age of the oldest ping without an answer: what is sent now arrives this much later at least.
    Clock::Duration late{};
    /// True where that ping is still on its way, and the network has taken bytes within
    /// `WebSocketTask::roadLimit`.
    bool isOnTheRoad = false;
};

struct WebSocketRequest {
    Url url;                          ///< ws or wss
    std::vector<HttpHeader> headers;  ///< added to the upgrade request
    /// Limit on everything up to and including the answered upgrade: name lookup, proxy, every address, TLS.
    std::chrono::milliseconds timeout = std::chrono::seconds(60);
    /// Called every `WebSocketTask::lookEvery` while the connection is open and read. Where it is set, the
    /// peer is pinged every `WebSocketTask::pingEvery`. Thread: the task's executor.
    std::function<void(const WebSocketPulse& pulse)> onPulse;
};

/// One client WebSocket. It connects once and is then used until it fails.
///
/// Thread: every call on the serial executor given to `make`; what is awaited resumes there.
/// Ownership: shared; an operation under way keeps the task alive.
class WebSocketTask {
public:
    /// A message longer than this ends the connection.
    static constexpr std::size_t maxMessageBytes = std::size_t{16} * 1024 * 1024;
    static constexpr std::size_t maxRefusalBytes = 4096;
    /// A peer that takes no byte for this long is dead: the send under way fails with `timeout`.
    static constexpr std::chrono::seconds sendLimit{20};
    /// How long a peer may take after `cancel` to answer the close frame before the socket is closed.
    static constexpr std::chrono::seconds closeLimit{2};
    static constexpr std::chrono::milliseconds lookEvery{250};
    static constexpr std::chrono::milliseconds pingEvery{500};
    static constexpr std::chrono::milliseconds pongLimit{1000};
    static constexpr std::chrono::milliseconds roadLimit{1500};

    virtual ~WebSocketTask() = default;

    /// Connects and upgrades. Call once, first.
    virtual Task<Result<void>> resume() = 0;

    /// Sends one text frame and waits until the system has taken it. Calls may overlap: frames leave in call
    /// order, one at a time.
    virtual Task<Result<void>> send(std::string text) = 0;

    /// Waits for the next whole message. One call at a time. A failure is final.
    virtual Task<Result<WebSocketMessage>> receive() = 0;

    /// Completes when the peer has answered a ping that left behind every frame given to `send` before; fails
    /// when the connection ends first. Needs a `receive` under way.
    virtual Task<Result<void>> roundTrip() = 0;

    /// Sends a close frame with `code` and ends the connection; operations under way fail with `cancelled`.
    /// Frames already given to `send` leave first. Returns at once; in any state, also twice.
    virtual void cancel(std::uint16_t code) = 0;

    /// Ready once the connection is gone after `cancel` (at most `closeLimit` later); at once where there was
    /// none.
    virtual Task<void> waitClosed() = 0;

    virtual std::optional<int> upgradeStatus() const = 0;  ///< HTTP status of the answer to the upgrade
    /// The first `maxRefusalBytes` of what came with a status other than 101, whatever it is.
    virtual const std::string& refusal() const = 0;
    virtual std::optional<std::uint16_t> closeCode()
        const = 0;  ///< code of the close frame that the peer sent

    static std::shared_ptr<WebSocketTask> make(SerialExecutor executor, WebSocketRequest request,
                                               NetworkContext network);
};

}  // namespace tarn
