#include "RawWebSocketPeer.h"

#include <openssl/sha.h>

#include <array>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>
#include <boost/asio/write.hpp>
#include <list>
#include <span>

#include "AcceptAll.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn::test {

using asio::ip::tcp;

struct RawWebSocketPeer::State {
    State(const SerialExecutor& executor, std::string raw, Afterwards after)
        : acceptor(executor, {asio::ip::address_v4::loopback(), 0}),
          bytes(std::move(raw)),
          afterwards(after) {}
    tcp::acceptor acceptor;
    std::string bytes;
    Afterwards afterwards;
    std::list<tcp::socket> kept;
};

namespace {

std::string acceptKey(const std::string& head) {
    const std::string name = "Sec-WebSocket-Key: ";
    const auto start = head.find(name) + name.size();
    const std::string key =
        head.substr(start, head.find("\r\n", start) - start) + "258EAFA5-E914-47DA-95CA-C5AB0DC85B11";
    std::array<unsigned char, SHA_DIGEST_LENGTH> digest{};
    SHA1(reinterpret_cast<const unsigned char*>(key.data()), key.size(), digest.data());
    return base64Encode(std::as_bytes(std::span(digest)));
}

template <typename State>
Task<void> serve(std::shared_ptr<State> state, tcp::socket client) {
    std::string head;
    const auto [error, size] =
        co_await asio::async_read_until(client, asio::dynamic_buffer(head, 16384), "\r\n\r\n", asValue);
    if (error) {
        co_return;
    }
    const std::string answer =
        "HTTP/1.1 101 Switching Protocols\r\nUpgrade: websocket\r\nConnection: "
        "Upgrade\r\nSec-WebSocket-Accept: " +
        acceptKey(head) + "\r\n\r\n" + state->bytes;
    co_await asio::async_write(client, asio::buffer(answer), asValue);
    if (state->afterwards == RawWebSocketPeer::Afterwards::stay) {
        state->kept.push_back(std::move(client));
        co_return;
    }
    // A reset would overtake what was sent, so the client's bytes are read until it has had enough.
    boost::system::error_code ignored;
    client.shutdown(tcp::socket::shutdown_send, ignored);
    std::array<char, 4096> rest{};
    for (;;) {
        const auto [readError, count] = co_await client.async_read_some(asio::buffer(rest), asValue);
        if (readError) {
            co_return;
        }
    }
}

}  // namespace

std::string serverFrame(int opcode, std::string_view payload) {
    std::string frame(1, static_cast<char>(0x80 | opcode));
    const auto size = payload.size();
    const int lengthBytes = size < 126 ? 0 : (size < 65536 ? 2 : 8);
    frame.push_back(static_cast<char>(lengthBytes == 0 ? size : (lengthBytes == 2 ? 126 : 127)));
    for (int i = lengthBytes - 1; i >= 0; --i) {
        frame.push_back(static_cast<char>((size >> (8 * i)) & 0xffU));
    }
    frame += payload;
    return frame;
}

RawWebSocketPeer::RawWebSocketPeer(SerialExecutor executor, std::string bytes, Afterwards afterwards)
    : state_(std::make_shared<State>(executor, std::move(bytes), afterwards)) {
    asio::co_spawn(executor, acceptAll(state_, serve<State>), asio::detached);
}

RawWebSocketPeer::~RawWebSocketPeer() {
    boost::system::error_code ignored;
    state_->acceptor.close(ignored);
    state_->kept.clear();
}

void RawWebSocketPeer::send(std::string_view bytes) {
    for (auto& client : state_->kept) {
        asio::write(client, asio::buffer(bytes));
    }
}

std::uint16_t RawWebSocketPeer::port() const {
    return state_->acceptor.local_endpoint().port();
}

}  // namespace tarn::test
