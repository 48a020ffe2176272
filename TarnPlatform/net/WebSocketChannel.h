#pragma once

#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/system/error_code.hpp>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

#include "ClientSocket.h"
#include "TcpProgress.h"
#include "WebSocketTask.h"

namespace tarn {

/// The library's WebSocket over a connected socket, with or without TLS below it: frames and errors, without
/// limits or states. Internal to `WebSocketTask`. Thread: the socket's executor. Of writes, pings and the
/// close one may be under way at a time, and one read beside it.
class WebSocketChannel {
public:
    static std::unique_ptr<WebSocketChannel> over(ClientSocket socket);
    static std::unique_ptr<WebSocketChannel> over(TlsClientStream stream);
    virtual ~WebSocketChannel() = default;

    /// `response` is what the server answered, whatever its status.
    virtual Task<boost::system::error_code> upgrade(const WebSocketRequest& request,
                                                    boost::beast::websocket::response_type& response) = 0;
    virtual Task<boost::system::error_code> write(const std::string& text) = 0;
    virtual Task<boost::system::error_code> read(WebSocketMessage& message) = 0;
    virtual Task<void> close(std::uint16_t code) = 0;
    virtual Task<void> ping(std::uint64_t number) = 0;
    /// `call` is called for each control frame that is read.
    virtual void onControlFrame(std::function<void(bool isPong, std::string_view payload)> call) = 0;
    virtual TcpProgress progress() = 0;
    /// Closes the socket at once; operations under way fail.
    virtual void cut() = 0;
    virtual std::uint16_t receivedCloseCode() const = 0;  ///< 0 where no close frame came
};

}  // namespace tarn
