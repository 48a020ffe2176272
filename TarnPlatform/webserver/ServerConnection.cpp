#include "ServerConnection.h"

#include <array>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/string.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/write.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <ctime>
#include <iomanip>
#include <locale>
#include <sstream>
#include <utility>

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

namespace beast = boost::beast;
namespace http = beast::http;
using boost::system::error_code;

/// How long a refused peer may go on sending before its socket is closed. A socket that is closed with unread
/// bytes resets the connection, which may discard the answer before the peer has read it (RFC 9112, 9.6).
constexpr std::chrono::seconds lingerLimit{1};
/// The size of the kernel's send buffer. Answers are small, and a peer that asks without reading shall not
/// fill more than this. Streams get more, so that a short stall of the network does not reach the queue.
constexpr int answersBuffer = 64 * 1024;
constexpr int streamBuffer = 4 * 1024 * 1024;

std::string httpDate() {
    const auto now = std::time(nullptr);
    std::tm parts{};
    ::gmtime_r(&now, &parts);
    std::ostringstream text;
    text.imbue(std::locale::classic());
    text << std::put_time(&parts, "%a, %d %b %Y %H:%M:%S GMT");
    return text.str();
}

// The library checks an upgrade only when it accepts it. Here it is known before, so that a handler can
// answer anything else with a plain response.
bool isWellFormedUpgrade(const http::request<http::string_body>& request) {
    const auto key = request[http::field::sec_websocket_key];
    return beast::websocket::is_upgrade(request) && request[http::field::sec_websocket_version] == "13" &&
           key.size() == 24 && request.body().empty();
}

ServerRequest plainRequest(const http::request<http::string_body>& request,
                           const std::string& remoteAddress) {
    ServerRequest plain;
    plain.method = request.method_string();
    plain.target = request.target();
    for (const auto& field : request) {
        plain.headers.push_back({field.name_string(), field.value()});
    }
    plain.body = request.body();
    plain.remoteAddress = remoteAddress;
    plain.isUpgrade = isWellFormedUpgrade(request);
    return plain;
}

}  // namespace

ServerConnection::ServerConnection(asio::ip::tcp::socket socket, std::shared_ptr<Clock> clock,
                                   HttpServer::Limits limits)
    : executor_(socket.get_executor()),
      socket_(std::move(socket)),
      clock_(std::move(clock)),
      limits_(limits),
      buffer_(limits.maxHeaderBytes + limits.maxBodyBytes),
      waitingSince_(clock_->now()) {
    error_code ignored;
    socket_.set_option(asio::ip::tcp::no_delay(true), ignored);
    socket_.set_option(asio::socket_base::send_buffer_size(answersBuffer), ignored);
    const auto peer = socket_.remote_endpoint(ignored);
    remoteAddress_ = peer.address().to_string();
}

Task<void> ServerConnection::serve(RequestHandler handler) {
    const auto self = shared_from_this();
    auto next = Next::request;
    while (next == Next::request && !ended_) {
        next = co_await serveOne(handler);
    }
    closeSocket();
}

Task<void> ServerConnection::turnAway() {
    const auto self = shared_from_this();
    co_await refuse(503, "too many connections");
    closeSocket();
}

void ServerConnection::end() {
    asio::post(executor_, [self = shared_from_this()] {
        if (self->upgraded_) {
            self->upgraded_->closeAtOnce(closeGoingAway, {});
        } else {
            self->closeSocket();
        }
    });
}

Task<ServerConnection::Next> ServerConnection::serveOne(RequestHandler& handler) {
    Parser parser;
    parser.header_limit(static_cast<std::uint32_t>(limits_.maxHeaderBytes));
    parser.body_limit(limits_.maxBodyBytes);
    error_code readError;
    bool timedOut = false;
    if (!waitingSince_) {
        waitingSince_ = clock_->now();
    }
    {
        // Only the reading direction is shut down, so that the other one can still carry the status 408.
        const auto deadline = clock_->callAfter(executor_, limits_.requestTimeout, [this, &timedOut] {
            timedOut = true;
            error_code ignored;
            socket_.shutdown(asio::ip::tcp::socket::shutdown_receive, ignored);
        });
        readError = co_await readRequest(parser);
    }
    waitingSince_.reset();
    if (readError) {
        co_await refuseUnreadable(readError, timedOut, parser.got_some());
        co_return Next::nothing;
    }
    // The handler gets a copy of its own, since the upgrade needs the library's request afterwards.
    auto request = parser.release();
    const auto isHead = request.method() == http::verb::head;
    const auto keepAlive = request.keep_alive();
    auto plain = plainRequest(request, remoteAddress_);
    const auto isUpgrade = plain.isUpgrade;

    ServerReply reply;
    try {
        reply = co_await handler(std::move(plain));
    } catch (const std::exception& exception) {
        // A handler that throws is a fault of ours, which costs this client its answer and no other.
        logLine(std::string("[http] a request failed: ") + exception.what());
        ServerResponse failed;
        failed.status = 500;
        reply = std::move(failed);
    }
    if (auto* response = std::get_if<ServerResponse>(&reply)) {
        const auto next = co_await answer(std::move(*response), keepAlive, isHead);
        if (next == Next::nothing) {
            co_await closeGently();
        }
        co_return next;
    }
    if (auto* going = std::get_if<ServerStream>(&reply)) {
        co_await stream(std::move(*going), isHead);
        co_return Next::nothing;
    }
    if (!isUpgrade) {
        co_await refuse(426, "this path speaks WebSocket only");
    } else if (buffer_.size() != 0) {
        // The WebSocket would start with an empty buffer and never see these bytes.
        co_await refuse(400, "frames came before the upgrade was answered");
    } else {
        co_await upgrade(std::move(request), std::move(std::get<WebSocketHandler>(reply)));
    }
    co_return Next::nothing;
}

/// A peer that asks with "Expect: 100-continue" whether its body is wanted is always told to send it, since
/// the handler decides by the whole request. Without the interim answer such peers wait a second or more.
Task<error_code> ServerConnection::readRequest(Parser& parser) {
    const auto [headError, headCount] = co_await http::async_read_header(socket_, buffer_, parser, asValue);
    if (headError || parser.is_done()) {
        co_return headError;
    }
    const auto& head = parser.get();
    if (head.version() == 11 && beast::iequals(head[http::field::expect], "100-continue")) {
        constexpr std::string_view goOn = "HTTP/1.1 100 Continue\r\n\r\n";
        const auto [sendError, sent] = co_await asio::async_write(socket_, asio::buffer(goOn), asValue);
        if (sendError) {
            co_return sendError;
        }
    }
    const auto [error, count] = co_await http::async_read(socket_, buffer_, parser, asValue);
    co_return error;
}

Task<ServerConnection::Next> ServerConnection::answer(ServerResponse response, bool keepAlive, bool isHead) {
    Response message;
    message.version(11);
    message.result(static_cast<unsigned>(response.status));
    for (const auto& header : response.headers) {
        message.insert(header.name, header.value);
    }
    message.set(http::field::date, httpDate());
    message.keep_alive(keepAlive);
    message.content_length(response.body.size());
    if (!isHead) {
        message.body() = std::move(response.body);
    }
    // A client that does not read would keep its place for ever.
    const auto deadline = closeAfter(limits_.sendTimeout);
    const auto [error, count] = co_await http::async_write(socket_, message, asValue);
    co_return error || !keepAlive ? Next::nothing : Next::request;
}

Task<void> ServerConnection::stream(ServerStream stream, bool isHead) {
    http::response<http::empty_body> head;
    head.version(11);
    head.result(http::status::ok);
    for (const auto& header : stream.headers) {
        head.insert(header.name, header.value);
    }
    head.set(http::field::date, httpDate());
    head.keep_alive(false);
    http::response_serializer<http::empty_body> serializer(head);
    error_code error;
    {
        const auto deadline = closeAfter(limits_.sendTimeout);
        error = std::get<0>(co_await http::async_write_header(socket_, serializer, asValue));
    }
    while (!error && !isHead && !ended_) {
        const auto piece = co_await stream.next();
        if (!piece) {
            break;
        }
        const auto deadline = closeAfter(limits_.sendTimeout);
        error = std::get<0>(co_await asio::async_write(socket_, asio::buffer(*piece), asValue));
    }
    if (!error && !ended_) {
        co_await closeGently();
    }
}

Task<void> ServerConnection::refuse(int status, std::string_view message) {
    ServerResponse response;
    response.status = status;
    response.headers.push_back({"Content-Type", "text/plain; charset=utf-8"});
    response.body = message;
    response.body.push_back('\n');
    co_await answer(std::move(response), false, false);
    co_await closeGently();
}

Task<void> ServerConnection::upgrade(UpgradedConnection::UpgradeRequest request, WebSocketHandler handler) {
    error_code ignored;
    socket_.set_option(asio::socket_base::send_buffer_size(streamBuffer), ignored);
    upgraded_ = UpgradedConnection::make(std::move(socket_), clock_, limits_);
    const bool accepted = co_await upgraded_->accept(std::move(request));
    if (!accepted) {
        co_return;
    }
    try {
        co_await handler(upgraded_);
    } catch (const std::exception& exception) {
        logLine(std::string("[http] a WebSocket failed: ") + exception.what());
        upgraded_->close(closeInternalError, {});
    }
    // A connection that the handler has closed keeps the handler's code.
    upgraded_->close(closeNormal, {});
    co_await upgraded_->waitEnded();
}

Task<void> ServerConnection::refuseUnreadable(error_code error, bool timedOut, bool begun) {
    if (ended_ || (timedOut && !begun)) {
        co_return;  // this side ended the connection, or it was merely idle
    }
    if (timedOut) {
        co_await refuse(408, "the request took too long");
    } else if (error == http::error::header_limit || error == http::error::buffer_overflow) {
        co_await refuse(431, "the header is too large");
    } else if (error == http::error::body_limit) {
        co_await refuse(413, "the body is too large");
    } else if (error.category() == make_error_code(http::error::bad_method).category() &&
               error != http::error::end_of_stream && error != http::error::partial_message) {
        co_await refuse(400, "not a valid HTTP request");
    }
}

Task<void> ServerConnection::closeGently() {
    // A peer that has had its answer may be dropped for a newcomer, as one that asks for nothing may.
    waitingSince_ = clock_->now();
    error_code error;
    socket_.shutdown(asio::ip::tcp::socket::shutdown_send, error);
    const auto deadline = closeAfter(lingerLimit);
    std::array<char, 4096> unwanted{};
    while (!error) {
        const auto [readError, count] = co_await socket_.async_read_some(asio::buffer(unwanted), asValue);
        error = readError;
    }
}

std::unique_ptr<ScheduledCall> ServerConnection::closeAfter(std::chrono::milliseconds limit) {
    return clock_->callAfter(executor_, limit, [weak = weak_from_this()] {
        if (const auto self = weak.lock()) {
            self->closeSocket();
        }
    });
}

void ServerConnection::closeSocket() {
    ended_ = true;
    error_code ignored;
    socket_.close(ignored);
}

}  // namespace tarn
