#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "PassedSocket.h"
#include "TarnPlatform/base/Result.h"
#include "TarnPlatform/net/Http.h"
#include "TarnPlatform/net/NetworkContext.h"

namespace tarn {

/// A request as it came. Nothing in it has been checked.
struct ServerRequest {
    std::string method;
    std::string target;  ///< path and query as on the wire
    std::vector<HttpHeader> headers;
    std::string body;
    std::string remoteAddress;  ///< numeric
    bool isUpgrade = false;     ///< a well-formed WebSocket upgrade request
};

struct ServerResponse {
    int status = 200;
    std::vector<HttpHeader> headers;  ///< Content-Length, Connection and Date are added
    std::string body;
};

/// An accepted WebSocket.
/// Thread: every call on `executor()`, a strand of its own, except where said.
class ServerWebSocket {
public:
    virtual ~ServerWebSocket() = default;
    virtual SerialExecutor executor() const = 0;  ///< Thread: any.

    /// The next whole message; a failure is final and means that the peer is gone.
    virtual Task<Result<WebSocketMessage>> receive() = 0;

    /// Queues one text frame. A peer that does not read it within `HttpServer::Limits::sendTimeout`, or for
    /// which more than `maxQueuedBytes` pile up, loses its connection; no other is affected. Thread: any.
    virtual void send(std::string text) = 0;

    /// Sends what is queued, then a close frame with `code` and `reason` (123 bytes at most). The peer has
    /// `sendTimeout` for all of it. Thread: any.
    virtual void close(std::uint16_t code, std::string reason) = 0;

    /// Does the same but drops what is queued, and gives the peer 2 s. It also cuts short a `close` that is
    /// still sending, whose code and reason stay. Thread: any.
    virtual void closeAtOnce(std::uint16_t code, std::string reason) = 0;
};

/// Takes an upgraded connection; the connection ends when the coroutine returns.
using WebSocketHandler = std::function<Task<void>(std::shared_ptr<ServerWebSocket>)>;
/// An answer with status 200 whose body comes in pieces and ends with the connection, such as server-sent
/// events.
struct ServerStream {
    std::vector<HttpHeader> headers;  ///< Connection and Date are added
    /// The next piece; nothing is the end. It is asked for once the peer's connection has taken the one
    /// before, within `HttpServer::Limits::sendTimeout`. Whether the peer is still there is found out by
    /// sending.
    std::function<Task<std::optional<std::string>>()> next;
};
/// A handler's answer: a response, one that goes on, or the acceptance of an upgrade.
using ServerReply = std::variant<ServerResponse, ServerStream, WebSocketHandler>;
/// Thread: the strand of the request's connection, on the server's executor.
using RequestHandler = std::function<Task<ServerReply>(ServerRequest)>;

/// Plain HTTP/1.1 and WebSocket server on one address. Half-open, slow and oversized peers are dropped by the
/// limits without holding anybody else up, and those that ask for nothing make room for newcomers.
class HttpServer {
public:
    struct Limits {
        /// Beyond that, a connection takes the place of the one that has waited longest without having sent a
        /// whole request. Where none waits, it is answered 503 and closed.
        std::size_t maxConnections = 256;
        std::size_t maxHeaderBytes = 16UZ * 1024;
        std::size_t maxBodyBytes = 64UZ * 1024;
        std::chrono::milliseconds requestTimeout =
            std::chrono::seconds(10);                    ///< for one whole request, idle included
        std::size_t maxMessageBytes = 1024UZ * 1024;     ///< of a WebSocket message
        std::size_t maxQueuedBytes = 8UZ * 1024 * 1024;  ///< unsent bytes of one WebSocket
        std::chrono::milliseconds sendTimeout = std::chrono::seconds(10);  ///< for one frame
        std::chrono::milliseconds idleTimeout =
            std::chrono::seconds(60);  ///< WebSocket: pinged at half of it
    };

    virtual ~HttpServer() = default;

    /// Binds and starts to accept on `network.executor`. `address` is numeric, with port 0 the system picks
    /// one. Fails with `system` when the address cannot be had. Destroying the server stops it.
    static Result<std::unique_ptr<HttpServer>> listen(NetworkContext network, const std::string& address,
                                                      std::uint16_t port, RequestHandler handler,
                                                      Limits limits);
    /// The same on a socket that listens already. Fails with `system` where it cannot be used.
    static Result<std::unique_ptr<HttpServer>> listen(NetworkContext network, PassedSocket passed,
                                                      RequestHandler handler, Limits limits);

    virtual std::uint16_t port() const = 0;
    virtual std::string address() const = 0;
    /// Stops accepting and ends every connection, WebSockets with close code 1001. Thread: the network's
    /// executor.
    virtual void stop() = 0;
};

}  // namespace tarn
