#pragma once

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/system/error_code.hpp>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

#include "HttpServer.h"
#include "TarnPlatform/base/Log.h"
#include "UpgradedConnection.h"

namespace tarn {

/// Starts `task` on `executor`. An exception that escapes it is a fault of ours: it is logged and ends that
/// task.
template <typename Executor>
void spawnLogged(const Executor& executor, Task<void> task) {
    asio::co_spawn(executor, std::move(task), [](const std::exception_ptr& exception) {
        if (!exception) {
            return;
        }
        try {
            std::rethrow_exception(exception);
        } catch (const std::exception& error) {
            logLine(std::string("[http] a connection failed: ") + error.what());
        }
    });
}

/// One accepted connection of the server: requests one after the other, or an upgrade. Internal to the
/// server. Thread: the strand that is `socket`'s executor.
class ServerConnection : public std::enable_shared_from_this<ServerConnection> {
public:
    ServerConnection(asio::ip::tcp::socket socket, std::shared_ptr<Clock> clock, HttpServer::Limits limits);

    const SerialExecutor& executor() const { return executor_; }

    /// Serves until either side ends the connection.
    Task<void> serve(RequestHandler handler);
    /// Answers 503 without reading anything, and closes.
    Task<void> turnAway();
    /// The time since which the connection has waited for a request, or for the peer to close after the last
    /// answer. It is empty while a request is being answered and after an upgrade.
    std::optional<Clock::TimePoint> waitingSince() const { return waitingSince_; }
    /// Ends the connection at once; an upgraded one says that the server is going away. Thread: any.
    void end();

private:
    using Response = boost::beast::http::response<boost::beast::http::string_body>;
    using Parser = boost::beast::http::request_parser<boost::beast::http::string_body>;
    enum class Next { request, nothing };

    Task<Next> serveOne(RequestHandler& handler);
    Task<boost::system::error_code> readRequest(Parser& parser);
    Task<Next> answer(ServerResponse response, bool keepAlive, bool isHead);
    Task<void> stream(ServerStream stream, bool isHead);
    Task<void> refuse(int status, std::string_view message);
    Task<void> upgrade(UpgradedConnection::UpgradeRequest request, WebSocketHandler handler);
    Task<void> refuseUnreadable(boost::system::error_code error, bool timedOut, bool begun);
    Task<void> closeGently();
    std::unique_ptr<ScheduledCall> closeAfter(std::chrono::milliseconds limit);
    void closeSocket();

    const SerialExecutor executor_;
    asio::ip::tcp::socket socket_;
    const std::shared_ptr<Clock> clock_;
    const HttpServer::Limits limits_;
    std::string remoteAddress_;
    boost::beast::flat_buffer buffer_;
    std::shared_ptr<UpgradedConnection> upgraded_;
    std::optional<Clock::TimePoint> waitingSince_;
    bool ended_ = false;
};

}  // namespace tarn
