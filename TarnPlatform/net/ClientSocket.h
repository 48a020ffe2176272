#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/ssl/stream.hpp>
#include <string>
#include <utility>

#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// A TCP socket whose WebSocket teardown never waits for the peer. After a broken frame, the library's own
/// reads on until the peer has closed, which a stuck one never does (Boost.Beast 1.81).
class ClientSocket : public boost::asio::ip::tcp::socket {
public:
    using socket = boost::asio::ip::tcp::socket;
    explicit ClientSocket(socket&& connected) : socket(std::move(connected)) {}
};

using TlsClientStream = asio::ssl::stream<ClientSocket>;

/// Does the TLS handshake as a client: the peer must present a certificate for `host` that the stream's
/// context trusts. The failure says which of the two was wrong. Thread: the stream's executor.
Task<Result<void>> shakeHands(TlsClientStream& stream, const std::string& host);

}  // namespace tarn
