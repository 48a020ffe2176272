#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <utility>

namespace tarn {

/// A TCP socket whose WebSocket teardown never waits for the peer. After a broken frame, the library's own
/// reads on until the peer has closed, which a stuck one never does (Boost.Beast 1.81).
class ClientSocket : public boost::asio::ip::tcp::socket {
public:
    using socket = boost::asio::ip::tcp::socket;
    explicit ClientSocket(socket&& connected) : socket(std::move(connected)) {}
};

}  // namespace tarn
