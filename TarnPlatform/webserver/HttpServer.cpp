#include "HttpServer.h"

#include <boost/asio/dispatch.hpp>
#include <boost/asio/ip/address.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/strand.hpp>
#include <boost/asio/use_awaitable.hpp>
#include <unordered_set>
#include <utility>

#include "ServerConnection.h"

namespace tarn {
namespace {

using asio::ip::tcp;
using boost::system::error_code;

/// So many connections beyond the limit are answered 503 at a time; more are closed without an answer.
constexpr std::size_t maxTurnedAway = 32;
/// Pause after a failed accept where nobody could make room: the process is out of descriptors or memory.
constexpr std::chrono::milliseconds acceptPause{100};

/// Accepts connections and keeps count of them. Thread: the network's executor, which also serves every
/// connection's strand.
class Listener : public std::enable_shared_from_this<Listener> {
public:
    Listener(NetworkContext network, RequestHandler handler, HttpServer::Limits limits)
        : network_(std::move(network)),
          handler_(std::move(handler)),
          limits_(limits),
          acceptor_(network_.executor) {}

    error_code open(const tcp::endpoint& endpoint) {
        error_code error;
        acceptor_.open(endpoint.protocol(), error);
        if (!error) {
            // Without this a restarted server could not bind while connections of the old one linger.
            acceptor_.set_option(tcp::acceptor::reuse_address(true), error);
        }
        if (!error) {
            acceptor_.bind(endpoint, error);
        }
        if (!error) {
            acceptor_.listen(tcp::acceptor::max_listen_connections, error);
        }
        if (!error) {
            endpoint_ = acceptor_.local_endpoint(error);
        }
        return error;
    }

    error_code adopt(PassedSocket passed) {
        error_code error;
        const auto address = asio::ip::make_address(passed.address, error);
        if (!error) {
            endpoint_ = tcp::endpoint(address, passed.port);
            acceptor_.assign(endpoint_.protocol(), passed.descriptor.get(), error);
        }
        if (!error) {
            (void)passed.descriptor.release();
        }
        return error;
    }

    const tcp::endpoint& endpoint() const { return endpoint_; }
    const SerialExecutor& executor() const { return network_.executor; }

    static Task<void> accept(std::shared_ptr<Listener> self) {
        while (!self->stopped_) {
            // Each connection has a strand, on which everything about it happens.
            const SerialExecutor strand = asio::make_strand(self->network_.executor);
            auto [error, socket] = co_await self->acceptor_.async_accept(strand, asValue);
            if (self->stopped_) {
                co_return;
            }
            if (error) {
                co_await makeRoom(self, error);
                continue;
            }
            self->take(std::move(socket));
        }
    }

    void stop() {
        stopped_ = true;
        error_code ignored;
        acceptor_.close(ignored);
        for (const auto& connection : connections_) {
            connection->end();
        }
    }

private:
    using Connections = std::unordered_set<std::shared_ptr<ServerConnection>>;

    void take(tcp::socket socket) {
        auto connection = std::make_shared<ServerConnection>(std::move(socket), network_.clock, limits_);
        const auto strand = connection->executor();
        if (connections_.size() < limits_.maxConnections || dropLongestWaiting()) {
            connections_.insert(connection);
            spawnLogged(strand, serve(shared_from_this(), std::move(connection)));
        } else if (turnedAway_ < maxTurnedAway) {
            ++turnedAway_;
            spawnLogged(strand, turnAway(shared_from_this(), std::move(connection)));
        }
    }

    /// To be called after a failed accept. Without descriptors accept fails whether a client waits or not, so
    /// a connection is dropped only once there is one.
    static Task<void> makeRoom(std::shared_ptr<Listener> self, error_code why) {
        bool dropped = false;
        if (why == asio::error::no_descriptors) {
            const auto [failed] = co_await self->acceptor_.async_wait(tcp::acceptor::wait_read, asValue);
            dropped = !failed && self->dropLongestWaiting();
        }
        if (dropped) {
            // The dropped connection closes its descriptor in a handler that was posted before this one.
            co_await asio::post(self->network_.executor, asio::use_awaitable);
        } else {
            co_await sleepFor(self->network_.clock, acceptPause);
        }
    }

    /// Ends the connection that has waited longest without sending a whole request, so that connections that
    /// ask for nothing lock nobody out. A limit alone would let one client hold every place with idle
    /// connections. False where none waits.
    bool dropLongestWaiting() {
        auto longest = connections_.end();
        for (auto at = connections_.begin(); at != connections_.end(); ++at) {
            const auto since = (*at)->waitingSince();
            if (since && (longest == connections_.end() || *since < *(*longest)->waitingSince())) {
                longest = at;
            }
        }
        if (longest == connections_.end()) {
            return false;
        }
        (*longest)->end();
        connections_.erase(longest);
        return true;
    }

    static Task<void> serve(std::shared_ptr<Listener> self, std::shared_ptr<ServerConnection> connection) {
        co_await connection->serve(self->handler_);
        self->connections_.erase(connection);
    }

    static Task<void> turnAway(std::shared_ptr<Listener> self, std::shared_ptr<ServerConnection> connection) {
        co_await connection->turnAway();
        --self->turnedAway_;
    }

    const NetworkContext network_;
    const RequestHandler handler_;
    const HttpServer::Limits limits_;
    tcp::acceptor acceptor_;
    tcp::endpoint endpoint_;
    Connections connections_;
    std::size_t turnedAway_ = 0;
    bool stopped_ = false;
};

class RealHttpServer final : public HttpServer {
public:
    explicit RealHttpServer(std::shared_ptr<Listener> listener) : listener_(std::move(listener)) {}
    RealHttpServer(const RealHttpServer&) = delete;
    RealHttpServer& operator=(const RealHttpServer&) = delete;
    ~RealHttpServer() override {
        asio::dispatch(listener_->executor(), [listener = listener_] { listener->stop(); });
    }

    std::uint16_t port() const override { return listener_->endpoint().port(); }
    std::string address() const override { return listener_->endpoint().address().to_string(); }
    void stop() override { listener_->stop(); }

private:
    std::shared_ptr<Listener> listener_;
};

}  // namespace

Result<std::unique_ptr<HttpServer>> HttpServer::listen(NetworkContext network, const std::string& address,
                                                       std::uint16_t port, RequestHandler handler,
                                                       Limits limits) {
    error_code error;
    const auto numeric = asio::ip::make_address(address, error);
    if (error) {
        return failure(ErrorKind::invalidInput, "\"" + address + "\" is not a numeric address");
    }
    const tcp::endpoint endpoint(numeric, port);
    auto listener = std::make_shared<Listener>(std::move(network), std::move(handler), limits);
    error = listener->open(endpoint);
    if (error) {
        return failure(ErrorKind::system, "cannot listen on " + address + " port " + std::to_string(port) +
                                              ": " + error.message());
    }
    spawnLogged(listener->executor(), Listener::accept(listener));
    return std::make_unique<RealHttpServer>(std::move(listener));
}

Result<std::unique_ptr<HttpServer>> HttpServer::listen(NetworkContext network, PassedSocket passed,
                                                       RequestHandler handler, Limits limits) {
    auto listener = std::make_shared<Listener>(std::move(network), std::move(handler), limits);
    if (const auto error = listener->adopt(std::move(passed))) {
        return failure(ErrorKind::system, "cannot use the socket that was passed: " + error.message());
    }
    spawnLogged(listener->executor(), Listener::accept(listener));
    return std::make_unique<RealHttpServer>(std::move(listener));
}

}  // namespace tarn
