#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/string_body.hpp>
#include <memory>

#include "HttpServer.h"

namespace tarn {

/// The WebSocket that an accepted HTTP connection turns into. Internal to the server.
/// Thread: the socket's strand, except for what `ServerWebSocket` allows from any.
class UpgradedConnection : public ServerWebSocket {
public:
    using UpgradeRequest = boost::beast::http::request<boost::beast::http::string_body>;

    /// Answers the upgrade with 101. False where the peer is gone.
    virtual Task<bool> accept(UpgradeRequest request) = 0;
    /// Ready once the socket is closed.
    virtual Task<void> waitEnded() = 0;

    /// `socket`'s executor is the connection's strand.
    static std::shared_ptr<UpgradedConnection> make(asio::ip::tcp::socket socket,
                                                    std::shared_ptr<Clock> clock,
                                                    const HttpServer::Limits& limits);
};

}  // namespace tarn
