#include "WebSocketTask.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ssl/error.hpp>
#include <boost/asio/steady_timer.hpp>
#include <boost/beast/websocket/error.hpp>
#include <charconv>
#include <deque>

#include "Connector.h"
#include "WebSocketChannel.h"

namespace tarn {

namespace {

namespace websocket = boost::beast::websocket;

std::string describe(const boost::system::error_code& error) {
    if (error == asio::error::eof || error == asio::ssl::error::stream_truncated) {
        return "the connection was cut without a close";
    }
    return error.message();
}

/// States follow one another in the order of `State` and never go back. Every operation that waits finds out
/// from `ending_` and `sendTimedOut_` afterwards why the library failed it: the library only knows that the
/// socket was closed under it.
class BeastWebSocketTask final : public WebSocketTask,
                                 public std::enable_shared_from_this<BeastWebSocketTask> {
public:
    BeastWebSocketTask(SerialExecutor executor, WebSocketRequest request, NetworkContext network)
        : executor_(std::move(executor)),
          request_(std::move(request)),
          network_(std::move(network)),
          pingChanged_(executor_, asio::steady_timer::time_point::max()),
          hasClosed_(executor_, asio::steady_timer::time_point::max()) {}

    Task<Result<void>> resume() override {
        const auto self = shared_from_this();
        if (state_ != State::fresh) {
            co_return failure(ErrorKind::cancelled, "the connection was ended before it began");
        }
        if (request_.url.scheme() != "ws" && request_.url.scheme() != "wss") {
            state_ = State::gone;
            co_return failure(ErrorKind::invalidInput, "only ws and wss URLs can be opened");
        }
        state_ = State::connecting;
        const auto limit =
            network_.clock->callAfter(executor_, request_.timeout, [this] { abandon(ErrorKind::timeout); });
        auto connected = co_await connectAndUpgrade();
        // A `cancel` may have come while the upgrade's answer was on its way.
        if (connected && !ending_) {
            state_ = State::open;
            listenForLife();
            co_return Result<void>();
        }
        // The limit, or a `cancel`, has closed the socket. Its error says nothing about that.
        leave();
        if (ending_ == ErrorKind::timeout) {
            co_return failure(ErrorKind::timeout, "no connection with " + request_.url.hostHeader() +
                                                      " within " +
                                                      std::to_string(request_.timeout.count() / 1000) + " s");
        }
        if (ending_) {
            co_return failure(ErrorKind::cancelled, "cancelled");
        }
        co_return connected;
    }

    Task<Result<void>> send(std::string text) override {
        const auto self = shared_from_this();
        co_await waitForTurn();
        auto sent = co_await sendInTurn(text);
        passTurn();
        co_return sent;
    }

    Task<Result<WebSocketMessage>> receive() override {
        const auto self = shared_from_this();
        if (state_ != State::open) {
            co_return notOpen();
        }
        WebSocketMessage message;
        isRead_ = true;
        const auto error = co_await channel_->read(message);
        isRead_ = false;
        if (!error) {
            heard();
            co_return message;
        }
        // The close frame's code is wanted even where this side closed first.
        if (channel_->receivedCloseCode() != 0) {
            closeCode_ = channel_->receivedCloseCode();
        }
        if (ending_) {
            co_return notOpen();
        }
        leave();
        if (sendTimedOut_) {
            co_return tooLate();
        }
        if (closeCode_) {
            co_return failure(ErrorKind::closed,
                              "the server closed the connection with code " + std::to_string(*closeCode_));
        }
        if (error == websocket::error::message_too_big) {
            co_return failure(ErrorKind::protocol, "a message is larger than 16 MiB");
        }
        co_return failure(error.category() == websocket::make_error_code(websocket::error::closed).category()
                              ? ErrorKind::protocol
                              : ErrorKind::connection,
                          describe(error));
    }

    Task<Result<void>> roundTrip() override {
        const auto self = shared_from_this();
        co_await waitForTurn();
        // The library allows one ping at a time, and `look` may be sending one.
        while (state_ == State::open && pinging_) {
            co_await pingChanged_.async_wait(asValue);
        }
        std::uint64_t number = 0;
        // The turn is kept until the ping has been written, so that no later frame gets before it.
        if (state_ == State::open) {
            number = pingsSent_ + 1;
            co_await ping(self);
        }
        passTurn();
        while (state_ == State::open && pingsAnswered_ < number) {
            co_await pingChanged_.async_wait(asValue);
        }
        if (number == 0 || pingsAnswered_ < number) {
            co_return notOpen();
        }
        co_return Result<void>();
    }

    void cancel(std::uint16_t code) override {
        if (state_ == State::open) {
            state_ = State::closing;
            pingChanged_.cancel();
            ending_ = ErrorKind::cancelled;
            // The close frame waits for its turn, so that frames given to `send` before leave first.
            asio::co_spawn(executor_, closeInTurn(shared_from_this(), code), asio::detached);
        } else if (state_ == State::connecting) {
            abandon(ErrorKind::cancelled);
        } else if (state_ == State::fresh) {
            leave();
        }
    }

    Task<void> waitClosed() override {
        const auto self = shared_from_this();
        while (state_ == State::closing || state_ == State::connecting) {
            co_await hasClosed_.async_wait(asValue);
        }
    }

    std::optional<int> upgradeStatus() const override { return upgradeStatus_; }
    const std::string& refusal() const override { return refusal_; }
    std::optional<std::uint16_t> closeCode() const override { return closeCode_; }

private:
    enum class State : std::uint8_t { fresh, connecting, open, closing, gone };

    Task<Result<void>> connectAndUpgrade() {
        connector_ = std::make_shared<Connector>(executor_, network_);
        auto socket = co_await connector_->connect(request_.url);
        if (!socket) {
            co_return std::unexpected(socket.error());
        }
        if (request_.url.isSecure()) {
            handshaking_ = std::make_unique<TlsClientStream>(ClientSocket(std::move(*socket)),
                                                             network_.trust->context());
            auto shaken = co_await shakeHands(*handshaking_, request_.url.host());
            if (!shaken || ending_) {
                handshaking_.reset();
                co_return shaken;
            }
            channel_ = WebSocketChannel::over(std::move(*handshaking_));
            handshaking_.reset();
        } else {
            channel_ = WebSocketChannel::over(ClientSocket(std::move(*socket)));
        }
        // A response whose status stays 0 was never received.
        websocket::response_type response;
        response.result(0U);
        const auto error = co_await channel_->upgrade(request_, response);
        if (response.result_int() != 0) {
            upgradeStatus_ = static_cast<int>(response.result_int());
        }
        if (error == websocket::error::upgrade_declined) {
            refusal_ = response.body().substr(0, maxRefusalBytes);
            co_return failure(
                ErrorKind::upgrade,
                "the server answered the upgrade with status " + std::to_string(*upgradeStatus_),
                *upgradeStatus_);
        }
        if (error) {
            co_return failure(ErrorKind::connection, "the upgrade failed: " + describe(error));
        }
        co_return Result<void>();
    }

    /// Makes a connection attempt end with `why`.
    void abandon(ErrorKind why) {
        if (ending_) {
            return;
        }
        ending_ = why;
        connector_->abort();
        if (handshaking_) {
            boost::system::error_code ignored;
            handshaking_->next_layer().close(ignored);
        }
        if (channel_) {
            channel_->cut();
        }
    }

    Task<Result<void>> sendInTurn(const std::string& text) {
        if (state_ != State::open && state_ != State::closing) {
            co_return notOpen();
        }
        // A frame that was cut off in the middle leaves a stream that cannot be used any more.
        const auto limit = network_.clock->callAfter(executor_, sendLimit, [this] {
            sendTimedOut_ = true;
            channel_->cut();
        });
        const auto error = co_await channel_->write(text);
        if (!error) {
            co_return Result<void>();
        }
        if (ending_) {
            co_return notOpen();
        }
        if (sendTimedOut_) {
            co_return tooLate();
        }
        co_return failure(ErrorKind::connection, describe(error));
    }

    static Task<void> closeInTurn(std::shared_ptr<BeastWebSocketTask> self, std::uint16_t code) {
        const auto limit =
            self->network_.clock->callAfter(self->executor_, closeLimit, [self] { self->channel_->cut(); });
        co_await self->waitForTurn();
        co_await self->channel_->close(code);
        self->passTurn();
        self->leave();
    }

    void listenForLife() {
        channel_->onControlFrame([this](bool isPong, std::string_view payload) {
            heard();
            if (isPong) {
                takePong(payload);
            }
        });
        if (request_.onPulse) {
            heard();
            look();
        }
    }

    void heard() { heardAt_ = network_.clock->now(); }

    void takePong(std::string_view payload) {
        // A pong answers the ping that it names and all before it (RFC 6455, 5.5.3). Some peers send a pong
        // without our payload; it can only mean that they are alive, so it answers all.
        std::uint64_t number = 0;
        const auto parsed = std::from_chars(payload.data(), payload.data() + payload.size(), number);
        pingsAnswered_ =
            std::max(pingsAnswered_, parsed.ec == std::errc() && number < pingsSent_ ? number : pingsSent_);
        while (!pings_.empty() && pings_.front().number <= pingsAnswered_) {
            pings_.pop_front();
        }
        pingChanged_.cancel();
    }

    void look() {
        if (state_ != State::open) {
            return;
        }
        const auto now = network_.clock->now();
        if (!isRead_) {
            // Pongs are seen only while the owner reads. Until then silence says nothing of the peer.
            heardAt_ = now;
            pings_.clear();
        } else if (!pinging_ && now - pingedAt_ >= pingEvery) {
            asio::co_spawn(executor_, ping(shared_from_this()), asio::detached);
        }
        request_.onPulse(takePulse(now));
        lookAgain_ = network_.clock->callAfter(executor_, lookEvery, [this] { look(); });
    }

    // A ping that stands behind our own sound in the kernel's buffer is answered late although the peer is
    // well. What the other end has acknowledged tells such a slow network from a peer that hangs.
    WebSocketPulse takePulse(Clock::TimePoint now) {
        const auto progress = channel_->progress();
        if (progress.arrived > arrived_) {
            arrived_ = progress.arrived;
            movedAt_ = now;
        }
        if (pings_.empty()) {
            return {};
        }
        const auto& oldest = pings_.front();
        const bool underWay = !oldest.end || *oldest.end > arrived_;
        const auto age = now - oldest.askedAt;
        return {age >= pongLimit ? now - heardAt_ : Clock::Duration(), age,
                underWay && now - movedAt_ < roadLimit};
    }

    static Task<void> ping(std::shared_ptr<BeastWebSocketTask> self) {
        const auto number = ++self->pingsSent_;
        self->pingedAt_ = self->network_.clock->now();
        self->pings_.push_back({number, self->pingedAt_, std::nullopt});
        self->pinging_ = true;
        co_await self->channel_->ping(number);
        self->pinging_ = false;
        if (!self->pings_.empty() && self->pings_.back().number == number) {
            self->pings_.back().end = self->channel_->progress().written;
        }
        self->pingChanged_.cancel();
    }

    /// The library allows one write at a time, so frames take turns in the order in which they asked. A timer
    /// that never expires stands for each waiting frame: cancelling it resumes the coroutine, on the strand
    /// and in order.
    Task<void> waitForTurn() {
        if (!sending_) {
            sending_ = true;
            co_return;
        }
        const auto turn =
            std::make_shared<asio::steady_timer>(executor_, asio::steady_timer::time_point::max());
        waiting_.push_back(turn);
        co_await turn->async_wait(asValue);
    }

    void passTurn() {
        if (waiting_.empty()) {
            sending_ = false;
            return;
        }
        waiting_.front()->cancel();
        waiting_.pop_front();
    }

    void leave() {
        state_ = State::gone;
        lookAgain_.reset();
        pingChanged_.cancel();
        if (channel_) {
            channel_->cut();
        }
        hasClosed_.cancel();
    }

    static std::unexpected<Error> tooLate() {
        return failure(ErrorKind::timeout,
                       "the server has taken nothing for " + std::to_string(sendLimit.count()) + " s");
    }

    std::unexpected<Error> notOpen() const {
        return ending_ == ErrorKind::cancelled ? failure(ErrorKind::cancelled, "cancelled")
                                               : failure(ErrorKind::connection, "the connection is not open");
    }

    const SerialExecutor executor_;
    const WebSocketRequest request_;
    const NetworkContext network_;
    State state_ = State::fresh;
    std::optional<ErrorKind> ending_;  ///< set when this side gave up or closed
    std::shared_ptr<Connector> connector_;
    std::unique_ptr<TlsClientStream> handshaking_;
    std::unique_ptr<WebSocketChannel> channel_;
    std::deque<std::shared_ptr<asio::steady_timer>> waiting_;
    bool sending_ = false;
    bool sendTimedOut_ = false;
    /// A ping that nothing has answered yet.
    struct Ping {
        std::uint64_t number = 0;
        Clock::TimePoint askedAt;
        std::optional<std::uint64_t> end;  ///< where it ends among the bytes written, once it was written
    };
    std::deque<Ping> pings_;
    std::uint64_t pingsSent_ = 0;
    std::uint64_t pingsAnswered_ = 0;
    bool pinging_ = false;
    bool isRead_ = false;
    Clock::TimePoint pingedAt_;
    Clock::TimePoint heardAt_;
    Clock::TimePoint movedAt_;
    std::uint64_t arrived_ = 0;
    asio::steady_timer pingChanged_;  ///< cancelled when a ping has left or was answered, and at the end
    std::unique_ptr<ScheduledCall> lookAgain_;
    asio::steady_timer hasClosed_;
    std::optional<int> upgradeStatus_;
    std::string refusal_;
    std::optional<std::uint16_t> closeCode_;
};

}  // namespace

std::shared_ptr<WebSocketTask> WebSocketTask::make(SerialExecutor executor, WebSocketRequest request,
                                                   NetworkContext network) {
    return std::make_shared<BeastWebSocketTask>(std::move(executor), std::move(request), std::move(network));
}

}  // namespace tarn
