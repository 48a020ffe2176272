// The one translation unit of the program that instantiates a client WebSocket, over TCP and over TLS.
#include "WebSocketChannel.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/post.hpp>
#include <boost/beast/core/bind_handler.hpp>
#include <boost/beast/core/role.hpp>
#include <boost/beast/websocket/ssl.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <utility>

namespace tarn {

/// The library calls this to end a connection after the closing handshake; it finds it by the socket's type.
template <typename Handler>
void async_teardown(boost::beast::role_type /*role*/, ClientSocket& socket, Handler&& handler) {
    boost::system::error_code ignored;
    socket.shutdown(asio::socket_base::shutdown_both, ignored);
    asio::post(socket.get_executor(),
               boost::beast::bind_front_handler(std::forward<Handler>(handler), boost::system::error_code()));
}

template <typename Handler>
void async_teardown(boost::beast::role_type role, TlsClientStream& stream, Handler&& handler) {
    async_teardown(role, stream.next_layer(), std::forward<Handler>(handler));
}

namespace {

namespace websocket = boost::beast::websocket;

template <typename Next>
class BeastChannel final : public WebSocketChannel {
public:
    explicit BeastChannel(Next next) : stream_(std::move(next)) {
        // The library's time-outs cannot be driven by a test's clock, so the task has its own.
        stream_.set_option(websocket::stream_base::timeout{websocket::stream_base::none(),
                                                           websocket::stream_base::none(), false});
        stream_.read_message_max(WebSocketTask::maxMessageBytes);
        stream_.auto_fragment(false);
        stream_.text(true);
    }

    Task<boost::system::error_code> upgrade(const WebSocketRequest& request,
                                            websocket::response_type& response) override {
        stream_.set_option(websocket::stream_base::decorator([&request](websocket::request_type& message) {
            for (const auto& header : request.headers) {
                message.set(header.name, header.value);
            }
        }));
        const std::string host = request.url.hostHeader();
        const std::string target = request.url.requestTarget();
        const auto [error] = co_await stream_.async_handshake(response, host, target, asValue);
        co_return error;
    }

    Task<boost::system::error_code> write(const std::string& text) override {
        const auto [error, size] = co_await stream_.async_write(asio::buffer(text), asValue);
        co_return error;
    }

    Task<boost::system::error_code> read(WebSocketMessage& message) override {
        auto buffer = asio::dynamic_buffer(message.payload, WebSocketTask::maxMessageBytes);
        const auto [error, size] = co_await stream_.async_read(buffer, asValue);
        message.kind = stream_.got_binary() ? WebSocketMessage::Kind::binary : WebSocketMessage::Kind::text;
        co_return error;
    }

    Task<void> close(std::uint16_t code) override {
        co_await stream_.async_close(websocket::close_reason(code), asValue);
    }

    Task<void> ping(std::uint64_t number) override {
        const websocket::ping_data payload(std::to_string(number));
        co_await stream_.async_ping(payload, asValue);
    }

    void onControlFrame(std::function<void(bool isPong, std::string_view payload)> call) override {
        stream_.control_callback(
            [call = std::move(call)](websocket::frame_type kind, boost::beast::string_view payload) {
                call(kind == websocket::frame_type::pong, {payload.data(), payload.size()});
            });
    }

    TcpProgress progress() override {
        return tcpProgress(boost::beast::get_lowest_layer(stream_).native_handle());
    }

    void cut() override {
        boost::system::error_code ignored;
        boost::beast::get_lowest_layer(stream_).close(ignored);
    }

    std::uint16_t receivedCloseCode() const override { return stream_.reason().code; }

private:
    websocket::stream<Next> stream_;
};

}  // namespace

std::unique_ptr<WebSocketChannel> WebSocketChannel::over(ClientSocket socket) {
    return std::make_unique<BeastChannel<ClientSocket>>(std::move(socket));
}

std::unique_ptr<WebSocketChannel> WebSocketChannel::over(TlsClientStream stream) {
    return std::make_unique<BeastChannel<TlsClientStream>>(std::move(stream));
}

}  // namespace tarn
