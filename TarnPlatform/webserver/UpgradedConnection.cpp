#include "UpgradedConnection.h"

#include <algorithm>
#include <atomic>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/dispatch.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/websocket/rfc6455.hpp>
#include <boost/beast/websocket/stream.hpp>
#include <deque>
#include <optional>
#include <utility>

#include "ServerConnection.h"

namespace tarn {
namespace {

namespace beast = boost::beast;
namespace websocket = beast::websocket;
using boost::system::error_code;

/// How long a peer may take for its half of the closing handshake, and for all of a `closeAtOnce`, before its
/// socket is closed.
constexpr std::chrono::seconds closeLimit{2};
constexpr std::size_t maxReasonBytes = 123;

class BeastConnection final : public UpgradedConnection,
                              public std::enable_shared_from_this<BeastConnection> {
public:
    BeastConnection(asio::ip::tcp::socket socket, std::shared_ptr<Clock> clock,
                    const HttpServer::Limits& limits)
        : executor_(socket.get_executor()),
          stream_(std::move(socket)),
          clock_(std::move(clock)),
          limits_(limits),
          hasEnded_(executor_, asio::steady_timer::time_point::max()) {
        stream_.read_message_max(limits_.maxMessageBytes);
        stream_.text(true);
        // Each message leaves as one frame, so that clients need not put fragments together.
        stream_.auto_fragment(false);
        const auto keepQuietAboutOurselves = [](websocket::response_type& response) {
            response.erase(beast::http::field::server);
        };
        stream_.set_option(websocket::stream_base::decorator(keepQuietAboutOurselves));
    }

    SerialExecutor executor() const override { return executor_; }

    Task<bool> accept(UpgradeRequest request) override {
        const auto self = shared_from_this();
        {
            const auto deadline = cutAfter(limits_.sendTimeout);
            const auto [error] = co_await stream_.async_accept(request, asValue);
            if (error) {
                cut();
                co_return false;
            }
        }
        stream_.control_callback([this](websocket::frame_type type, beast::string_view) {
            lastHeard_ = clock_->now();
            if (type == websocket::frame_type::close) {
                // The library waits for the peer to end the TCP connection, too; not every peer does.
                peerCloseDeadline_ = cutAfter(closeLimit);
            }
        });
        checkIdlenessAfter(limits_.idleTimeout / 2);
        co_return true;
    }

    Task<Result<WebSocketMessage>> receive() override {
        const auto self = shared_from_this();
        WebSocketMessage message;
        auto buffer = asio::dynamic_buffer(message.payload);
        receiving_ = true;
        lastHeard_ = clock_->now();
        do {
            const auto [error, count] = co_await stream_.async_read_some(buffer, 0, asValue);
            if (error) {
                receiving_ = false;
                const auto failed = readFailure(error);
                finishAfterReadFailure();
                co_return std::unexpected(failed);
            }
            lastHeard_ = clock_->now();
        } while (!stream_.is_message_done());
        receiving_ = false;
        message.kind = stream_.got_text() ? WebSocketMessage::Kind::text : WebSocketMessage::Kind::binary;
        co_return message;
    }

    void send(std::string text) override {
        // The bytes are counted here and not on the strand, because a producer on another thread must not
        // fill a busy strand's queue of handlers without a limit.
        const auto queued = queuedBytes_.fetch_add(text.size()) + text.size();
        if (queued > limits_.maxQueuedBytes) {
            queuedBytes_.fetch_sub(text.size());
            asio::post(executor_, [self = shared_from_this()] { self->cut(); });
            return;
        }
        asio::post(executor_, [self = shared_from_this(), text = std::move(text)]() mutable {
            if (self->ended_ || self->closeRequest_) {
                self->queuedBytes_.fetch_sub(text.size());
                return;
            }
            self->queue_.push_back(std::move(text));
            self->startWriting();
        });
    }

    void close(std::uint16_t code, std::string reason) override {
        reason.resize(std::min(reason.size(), maxReasonBytes));
        asio::post(executor_, [self = shared_from_this(), code, reason = std::move(reason)] {
            if (!self->ended_ && !self->closeRequest_) {
                self->beginClose(code, reason, self->limits_.sendTimeout);
            }
        });
    }

    void closeAtOnce(std::uint16_t code, std::string reason) override {
        reason.resize(std::min(reason.size(), maxReasonBytes));
        asio::post(executor_, [self = shared_from_this(), code, reason = std::move(reason)] {
            // This happens once: a second call must not extend the limit.
            if (self->ended_ || std::exchange(self->closingAtOnce_, true)) {
                return;
            }
            for (const auto& text : self->queue_) {
                self->queuedBytes_.fetch_sub(text.size());
            }
            self->queue_.clear();
            self->beginClose(code, reason, closeLimit);
        });
    }

    Task<void> waitEnded() override {
        const auto self = shared_from_this();
        while (!ended_) {
            co_await hasEnded_.async_wait(asValue);
        }
    }

private:
    /// The code and the reason of an earlier call stay; its limit is replaced.
    void beginClose(std::uint16_t code, const std::string& reason, std::chrono::milliseconds limit) {
        if (!closeRequest_) {
            closeRequest_.emplace(code, reason);
        }
        ownCloseDeadline_ = cutAfter(limit);
        startWriting();
    }

    std::unique_ptr<ScheduledCall> cutAfter(std::chrono::milliseconds limit) {
        return clock_->callAfter(executor_, limit, [weak = weak_from_this()] {
            if (const auto self = weak.lock()) {
                self->cut();
            }
        });
    }

    void cut() {
        if (std::exchange(ended_, true)) {
            return;
        }
        error_code ignored;
        stream_.next_layer().close(ignored);
        idleCheck_.reset();
        ownCloseDeadline_.reset();
        peerCloseDeadline_.reset();
        queue_.clear();
        hasEnded_.cancel();
    }

    void startWriting() {
        if (!std::exchange(writing_, true)) {
            spawnLogged(executor_, write(shared_from_this()));
        }
    }

    static Task<void> write(std::shared_ptr<BeastConnection> self) {
        while (!self->queue_.empty() && !self->ended_) {
            const std::string text = std::move(self->queue_.front());
            self->queue_.pop_front();
            const auto deadline = self->cutAfter(self->limits_.sendTimeout);
            const auto [error, count] = co_await self->stream_.async_write(asio::buffer(text), asValue);
            self->queuedBytes_.fetch_sub(text.size());
            if (error) {
                self->cut();
            }
        }
        self->writing_ = false;
        if (!self->closeRequest_ || self->ended_) {
            co_return;
        }
        self->writing_ = true;  // stays so, since no frame may follow the close frame
        const auto deadline = self->cutAfter(closeLimit);
        const websocket::close_reason reason(static_cast<websocket::close_code>(self->closeRequest_->first),
                                             self->closeRequest_->second);
        (void)co_await self->stream_.async_close(reason, asValue);
        self->cut();
    }

    Error readFailure(const error_code& error) const {
        if (error == websocket::error::closed) {
            return {ErrorKind::closed,
                    "the client closed the connection with code " + std::to_string(stream_.reason().code)};
        }
        if (ended_) {
            return {ErrorKind::cancelled, "the connection was ended"};
        }
        if (error.category() == make_error_code(websocket::error::closed).category()) {
            return {ErrorKind::protocol, "the client broke the protocol: " + error.message()};
        }
        return {ErrorKind::connection, "the client is gone: " + error.message()};
    }

    /// A failed read means that the peer has closed or is gone. The socket stays open only while our own
    /// closing handshake is under way.
    void finishAfterReadFailure() {
        if (!closeRequest_ || !writing_) {
            cut();
        }
    }

    void checkIdlenessAfter(Clock::Duration delay) {
        idleCheck_ = clock_->callAfter(executor_, delay, [weak = weak_from_this()] {
            if (const auto self = weak.lock(); self && !self->ended_) {
                self->checkIdleness();
            }
        });
    }

    void checkIdleness() {
        const Clock::Duration limit = limits_.idleTimeout;
        // Nothing is read while the handler does not receive: then silence is the handler's pace, not the
        // peer's.
        const auto quiet = receiving_ ? clock_->now() - lastHeard_ : Clock::Duration::zero();
        if (quiet >= limit) {
            cut();
        } else if (quiet >= limit / 2) {
            if (!std::exchange(pinging_, true)) {
                spawnLogged(executor_, ping(shared_from_this()));
            }
            checkIdlenessAfter(limit - quiet);
        } else {
            checkIdlenessAfter(limit / 2 - quiet);
        }
    }

    static Task<void> ping(std::shared_ptr<BeastConnection> self) {
        const websocket::ping_data nothing;
        (void)co_await self->stream_.async_ping(nothing, asValue);
        self->pinging_ = false;
    }

    const SerialExecutor executor_;
    websocket::stream<asio::ip::tcp::socket> stream_;
    const std::shared_ptr<Clock> clock_;
    const HttpServer::Limits limits_;
    std::atomic<std::size_t> queuedBytes_ = 0;

    // The rest is used on the strand only.
    asio::steady_timer hasEnded_;  // never expires; cancelled once the connection has ended
    std::deque<std::string> queue_;
    std::optional<std::pair<std::uint16_t, std::string>> closeRequest_;
    std::unique_ptr<ScheduledCall> idleCheck_;
    std::unique_ptr<ScheduledCall> ownCloseDeadline_;
    std::unique_ptr<ScheduledCall> peerCloseDeadline_;
    Clock::TimePoint lastHeard_{};
    bool writing_ = false;
    bool receiving_ = false;
    bool pinging_ = false;
    bool closingAtOnce_ = false;
    bool ended_ = false;
};

}  // namespace

std::shared_ptr<UpgradedConnection> UpgradedConnection::make(asio::ip::tcp::socket socket,
                                                             std::shared_ptr<Clock> clock,
                                                             const HttpServer::Limits& limits) {
    return std::make_shared<BeastConnection>(std::move(socket), std::move(clock), limits);
}

}  // namespace tarn
