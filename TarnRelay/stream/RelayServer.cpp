#include "RelayServer.h"

#include <boost/asio/bind_cancellation_slot.hpp>
#include <boost/asio/cancellation_signal.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/json.hpp>
#include <chrono>
#include <list>
#include <string_view>
#include <utility>

#include "StreamQuery.h"
#include "TarnPlatform/base/Log.h"
#include "TarnRelay/account/RequestCheck.h"
#include "TarnRelay/account/SignInRoutes.h"

namespace tarn::relay {
namespace {

namespace json = boost::json;

/// The close code of this protocol for a token that is no longer good.
constexpr std::uint16_t closeTokenRefused = 4001;

ServerResponse jsonResponse(int status, const json::object& body) {
    ServerResponse response;
    response.status = status;
    response.headers.push_back({"Content-Type", "application/json"});
    response.headers.push_back({"Cache-Control", "no-store"});
    response.body = json::serialize(body);
    return response;
}

ServerResponse errorResponse(int status, std::string_view message) {
    return jsonResponse(status, {{"error", message}});
}

json::object object(const std::map<std::string, std::vector<std::string>>& lists) {
    json::object result;
    for (const auto& [language, list] : lists) {
        result[language] = json::array(list.begin(), list.end());
    }
    return result;
}

/// The member "languages" of the answers; without any member where the engine cannot tell.
json::object toldLanguages(const ServedLanguages& served) {
    json::object told;
    if (!served.hears.empty()) {
        told["hears"] = json::array(served.hears.begin(), served.hears.end());
    }
    if (!served.translates.empty()) {
        told["translates"] = object(served.translates);
    }
    if (served.voices) {
        told["voices"] = object(*served.voices);
    }
    return told.empty() ? json::object() : json::object{{"languages", std::move(told)}};
}

/// Passes an engine's events to a client that may already be gone.
class SocketSink final : public EventSink {
public:
    explicit SocketSink(std::weak_ptr<ServerWebSocket> socket) : socket_(std::move(socket)) {}

    void send(std::string text) override {
        if (const auto socket = socket_.lock()) {
            socket->send(std::move(text));
        }
    }
    void close(std::uint16_t code, std::string reason) override {
        if (const auto socket = socket_.lock()) {
            socket->close(code, std::move(reason));
        }
    }

private:
    const std::weak_ptr<ServerWebSocket> socket_;
};

/// The state that the handlers share. Thread: the network's executor, which is one thread and also runs every
/// connection's strand.
class Relay : public std::enable_shared_from_this<Relay> {
public:
    Relay(NetworkContext network, SerialExecutor fileExecutor, TokenRegistry tokens,
          TranslationEngine& engine, RelayServer::Options options)
        : network_(std::move(network)),
          fileExecutor_(std::move(fileExecutor)),
          tokens_(std::move(tokens)),
          engine_(engine),
          options_(std::move(options)),
          languages_(toldLanguages(engine_.languages())),
          check_(options_.address),
          signIn_(network_.clock, options_.suggestedEmail,
                  [this](std::string email) { return issueToken(fileExecutor_, tokens_, std::move(email)); }),
          started_(network_.clock->now()) {}

    Result<void> readTokens() {
        const auto read = tokens_.refresh();
        return read ? Result<void>() : std::unexpected(read.error());
    }

    Result<std::unique_ptr<HttpServer>> listen() {
        const auto handler = [self = shared_from_this()](ServerRequest request) {
            return answer(self, std::move(request));
        };
        if (options_.passed) {
            return HttpServer::listen(network_, std::move(*options_.passed), handler, options_.limits);
        }
        return HttpServer::listen(network_, options_.address, options_.port, handler, options_.limits);
    }

    void watchTokens() {
        const auto ended = [](const std::exception_ptr&) {};
        asio::co_spawn(network_.executor, watch(shared_from_this()),
                       asio::bind_cancellation_slot(stopWatching_.slot(), ended));
    }

    void stop() { stopWatching_.emit(asio::cancellation_type::terminal); }
    void stopFromAnywhere() {
        asio::post(network_.executor, [self = shared_from_this()] { self->stop(); });
    }

private:
    /// A client's stream while it is open.
    struct LiveStream {
        TokenHash token{};
        std::weak_ptr<ServerWebSocket> socket;
    };
    using LiveStreams = std::list<LiveStream>;

    /// Keeps a stream in the list for as long as it lives. Its coroutine may end by an exception, too.
    class Registration {
    public:
        Registration(LiveStreams& streams, LiveStream stream)
            : streams_(streams), place_(streams.insert(streams.end(), std::move(stream))) {}
        Registration(const Registration&) = delete;
        Registration& operator=(const Registration&) = delete;
        ~Registration() { streams_.erase(place_); }

    private:
        LiveStreams& streams_;
        const LiveStreams::iterator place_;
    };

    static Task<void> watch(std::shared_ptr<Relay> self) {
        const auto changed = [self] { self->refreshTokens(); };
        co_await self->tokens_.watch(changed);
    }

    /// Reads the tokens where the file has changed, and ends the streams whose token has gone. Requests call
    /// this, too, because the watch may miss a change: its folder may be moved, or be on a network's file
    /// system.
    void refreshTokens() {
        const auto fresh = tokens_.refresh();
        const auto problem = fresh ? std::string() : fresh.error().description;
        if (!problem.empty() && problem != tokenProblem_) {
            logLine("[relay] " + problem + "; the tokens last read stay good");
        }
        tokenProblem_ = problem;
        if (fresh.value_or(false)) {
            endRevokedStreams();
        }
    }

    void endRevokedStreams() {
        for (const auto& stream : streams_) {
            const auto socket = stream.socket.lock();
            if (socket && !tokens_.holds(stream.token)) {
                socket->closeAtOnce(closeTokenRefused, "the token was revoked");
            }
        }
    }

    static Task<ServerReply> answer(std::shared_ptr<Relay> self, ServerRequest request) {
        const auto mark = request.target.find('?');
        const auto path = request.target.substr(0, mark);
        const auto query = mark == std::string::npos ? std::string() : request.target.substr(mark + 1);

        ServerReply reply;
        if (const auto objection = self->check_.objection(request.headers)) {
            reply = errorResponse(403, *objection);
        } else if (path == "/healthz") {
            reply = self->forMethod(request, "GET", [&](const ServerRequest&) { return self->health(); });
        } else if (path == "/auth") {
            const bool fromHere = isFromThisMachine(request);
            auto response = co_await self->signIn_.answer(std::move(request), query, fromHere);
            reply = std::move(response);
        } else if (path == "/tarn/api/me") {
            reply = self->forMethod(request, "GET", [&](const ServerRequest& r) { return self->me(r); });
        } else if (path == "/tarn/ws/translate-stream") {
            reply = self->forMethod(request, "GET",
                                    [&](const ServerRequest& r) { return self->stream(r, query); });
        } else if (path == "/tarn/api/logout") {
            if (request.method == "POST") {
                auto response = co_await logOut(self, std::move(request));
                reply = std::move(response);
            } else {
                reply = wrongMethod("POST");
            }
        } else {
            reply = errorResponse(404, "there is nothing at this path");
        }
        co_return reply;
    }

    static ServerResponse wrongMethod(const char* allowed) {
        auto response = errorResponse(405, "this path does not take this method");
        response.headers.push_back({"Allow", allowed});
        return response;
    }

    template <typename Handler>
    ServerReply forMethod(const ServerRequest& request, const char* method, const Handler& handler) {
        // HEAD is answered as GET is; the connection leaves out the body.
        const std::string_view asked = request.method == "HEAD" ? "GET" : std::string_view(request.method);
        return asked == method ? handler(request) : wrongMethod(method);
    }

    std::optional<Account> accountOf(const ServerRequest& request) {
        refreshTokens();
        const auto token = bearerToken(request.headers);
        auto account = token ? tokens_.find(*token) : std::nullopt;
        if (!account) {
            ++refused_;
        }
        return account;
    }

    static ServerResponse unauthorized() {
        auto response = errorResponse(401, "the access token is missing or not accepted");
        response.headers.push_back({"WWW-Authenticate", "Bearer"});
        return response;
    }

    json::object withLanguages(json::object answer) const {
        answer.insert(languages_.begin(), languages_.end());
        return answer;
    }

    ServerResponse health() const {
        const auto up = std::chrono::duration_cast<std::chrono::seconds>(network_.clock->now() - started_);
        return jsonResponse(200, withLanguages({{"status", "ok"},
                                                {"engine", options_.engineName},
                                                {"uptime_seconds", up.count()},
                                                {"streams_open", streams_.size()},
                                                {"streams_total", streamsTotal_},
                                                {"streams_refused", streamsRefused_},
                                                {"max_streams", options_.maxStreams},
                                                {"requests_unauthorized", refused_}}));
    }

    ServerResponse me(const ServerRequest& request) {
        const auto account = accountOf(request);
        if (!account) {
            return unauthorized();
        }
        return jsonResponse(200, withLanguages({{"user_id", account->userId}, {"email", account->email}}));
    }

    static Task<Result<std::string>> issue(TokenRegistry tokens, std::string email) {
        co_return tokens.issue(email);
    }

    static Task<Result<std::string>> issueToken(SerialExecutor fileExecutor, TokenRegistry tokens,
                                                std::string email) {
        auto work = issue(std::move(tokens), std::move(email));
        co_return co_await asio::co_spawn(fileExecutor, std::move(work), asio::use_awaitable);
    }

    static Task<Result<void>> revoke(TokenRegistry tokens, TokenHash token) {
        co_return tokens.revokeToken(token);
    }

    static Task<ServerResponse> logOut(std::shared_ptr<Relay> self, ServerRequest request) {
        const auto account = self->accountOf(request);
        if (!account) {
            co_return unauthorized();
        }
        // Another process may hold the file's lock. The network's thread, which serves all, must not wait for
        // it.
        auto work = revoke(self->tokens_, account->token);
        const auto revoked =
            co_await asio::co_spawn(self->fileExecutor_, std::move(work), asio::use_awaitable);
        if (!revoked) {
            logLine("[relay] a token could not be revoked: " + revoked.error().description);
            co_return errorResponse(500, "the token could not be revoked");
        }
        self->refreshTokens();
        co_return jsonResponse(200, {});
    }

    ServerReply stream(const ServerRequest& request, const std::string& query) {
        const auto account = accountOf(request);
        if (!account) {
            return unauthorized();
        }
        if (!request.isUpgrade) {
            auto response = errorResponse(426, "this path speaks WebSocket only");
            response.headers.push_back({"Upgrade", "websocket"});
            return response;
        }
        const auto settings = parseStreamQuery(query);
        if (!settings) {
            return errorResponse(400, settings.error().description);
        }
        return WebSocketHandler([self = shared_from_this(), settings = *settings,
                                 token = account->token](std::shared_ptr<ServerWebSocket> socket) {
            return runStream(self, settings, token, std::move(socket));
        });
    }

    std::expected<std::unique_ptr<EngineStream>, Refusal> openStream(const StreamSettings& settings,
                                                                     std::shared_ptr<EventSink> sink) {
        if (streams_.size() > options_.maxStreams) {
            Refusal busy;
            busy.message =
                "the relay is busy: " + std::to_string(options_.maxStreams) + " streams are open already";
            busy.closeCode = closeTryAgainLater;
            return std::unexpected(std::move(busy));
        }
        return engine_.open(settings, std::move(sink));
    }

    static Task<void> runStream(std::shared_ptr<Relay> self, StreamSettings settings, TokenHash token,
                                std::shared_ptr<ServerWebSocket> socket) {
        // The stream is registered before anything else, so that a token which is revoked from here on ends
        // it; one that was revoked between the check and this is found below.
        std::optional<Registration> registration(std::in_place, self->streams_, LiveStream{token, socket});
        const auto sink = std::make_shared<SocketSink>(socket);
        auto opened = self->openStream(settings, sink);
        if (opened) {
            ++self->streamsTotal_;
            logLine("[relay] a stream to \"" + settings.target + "\" began");
        } else {
            ++self->streamsRefused_;
            const auto& refusal = opened.error();
            logLine("[relay] a stream was refused: " + refusal.message);
            socket->send(errorEvent(refusal.message));
            socket->close(refusal.closeCode, "refused");
            registration.reset();
        }
        if (opened && !self->tokens_.holds(token)) {
            socket->close(closeTokenRefused, "the token was revoked");
        }
        // A refused client is read from as well: its closing handshake needs a reader.
        std::string ending;
        for (;;) {
            // A client that sends faster than the engine works is held back by TCP: nothing is read
            // meanwhile.
            if (opened) {
                co_await (*opened)->readyForMore();
            }
            auto message = co_await socket->receive();
            if (!message) {
                ending = message.error().description;
                break;
            }
            if (opened && message->kind == WebSocketMessage::Kind::text) {
                (*opened)->receive(std::move(message->payload));
            } else if (opened) {
                socket->close(closeUnsupported, "messages are text");
            }
        }
        if (opened) {
            logLine("[relay] a stream ended: " + ending);
        }
    }

    const NetworkContext network_;
    const SerialExecutor fileExecutor_;
    TokenRegistry tokens_;
    TranslationEngine& engine_;
    const RelayServer::Options options_;
    const json::object languages_;  ///< the answers' member about them
    const RequestCheck check_;
    SignInRoutes signIn_;
    const Clock::TimePoint started_;
    asio::cancellation_signal stopWatching_;
    LiveStreams streams_;
    std::string tokenProblem_;  ///< why the tokens could not be read last time; empty where they could
    std::uint64_t streamsTotal_ = 0;
    std::uint64_t streamsRefused_ = 0;
    std::uint64_t refused_ = 0;
};

class RealRelayServer final : public RelayServer {
public:
    RealRelayServer(std::shared_ptr<Relay> relay, std::unique_ptr<HttpServer> server)
        : relay_(std::move(relay)), server_(std::move(server)) {}
    RealRelayServer(const RealRelayServer&) = delete;
    RealRelayServer& operator=(const RealRelayServer&) = delete;
    ~RealRelayServer() override { relay_->stopFromAnywhere(); }

    std::uint16_t port() const override { return server_->port(); }
    std::string url() const override {
        const auto address = server_->address();
        const bool isV6 = address.find(':') != std::string::npos;
        return "http://" + (isV6 ? "[" + address + "]" : address) + ":" + std::to_string(server_->port());
    }
    void stop() override {
        server_->stop();
        relay_->stop();
    }

private:
    const std::shared_ptr<Relay> relay_;
    const std::unique_ptr<HttpServer> server_;
};

}  // namespace

Result<std::unique_ptr<RelayServer>> RelayServer::start(NetworkContext network, SerialExecutor fileExecutor,
                                                        TokenRegistry tokens, TranslationEngine& engine,
                                                        Options options) {
    auto relay = std::make_shared<Relay>(std::move(network), std::move(fileExecutor), std::move(tokens),
                                         engine, std::move(options));
    const auto read = relay->readTokens();
    if (!read) {
        return std::unexpected(read.error());
    }
    auto server = relay->listen();
    if (!server) {
        return std::unexpected(server.error());
    }
    relay->watchTokens();
    return std::make_unique<RealRelayServer>(std::move(relay), std::move(*server));
}

}  // namespace tarn::relay
