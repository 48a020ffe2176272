#include "HttpSession.h"

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/strand.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/message.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <boost/beast/http/string_body.hpp>
#include <boost/beast/http/write.hpp>
#include <optional>

#include "ClientSocket.h"
#include "Connector.h"
#include "TarnPlatform/base/CarryOut.h"

namespace tarn {
namespace {

namespace http = boost::beast::http;

constexpr std::size_t maxAnswerBytes = std::size_t{4} * 1024 * 1024;
constexpr int maxInterimAnswers = 16;  // 1xx answers (RFC 9110, 15.2); a server may send several

http::request<http::string_body> toBeast(const HttpRequest& request) {
    http::request<http::string_body> message;
    message.version(11);
    message.method_string(request.method);
    message.target(request.url.requestTarget());
    message.set(http::field::host, request.url.hostHeader());
    // Requests are rare and go to several hosts: a kept connection would mostly be dead when it is wanted.
    message.set(http::field::connection, "close");
    message.set(http::field::accept, "*/*");
    for (const auto& header : request.headers) {
        message.set(header.name, header.value);
    }
    message.body() = request.body;
    message.prepare_payload();
    return message;
}

template <typename Stream>
Task<Result<HttpResponse>> exchange(Stream& stream, const HttpRequest& request) {
    const auto message = toBeast(request);
    const auto [writeError, written] = co_await http::async_write(stream, message, asValue);
    if (writeError) {
        co_return failure(ErrorKind::connection, "the request was not taken: " + writeError.message());
    }
    boost::beast::flat_buffer buffer;
    std::optional<http::response_parser<http::string_body>> reading;
    boost::system::error_code readError;
    int interim = 0;
    do {
        // A parser reads one message only, so each interim answer takes a new one.
        reading.emplace();
        reading->body_limit(maxAnswerBytes);
        reading->skip(request.method == "HEAD");
        const auto [error, size] = co_await http::async_read(stream, buffer, *reading, asValue);
        readError = error;
    } while (!readError && reading->get().result_int() / 100 == 1 && ++interim <= maxInterimAnswers);
    auto& parser = *reading;
    if (readError) {
        // An answer that breaks HTTP is told apart from a connection that broke.
        const bool broken =
            readError == http::error::body_limit ||
            readError.category() == http::make_error_code(http::error::bad_version).category();
        co_return failure(broken ? ErrorKind::protocol : ErrorKind::connection,
                          "no whole answer came: " + readError.message());
    }
    auto answer = parser.release();
    HttpResponse response;
    response.status = static_cast<int>(answer.result_int());
    for (const auto& field : answer) {
        response.headers.push_back({std::string(field.name_string()), std::string(field.value())});
    }
    response.body = std::move(answer.body());
    co_return response;
}

// A line break in a value, from a token file for instance, would smuggle in headers of its own.
bool isHeaderSafe(const HttpHeader& header) {
    const auto isControl = [](unsigned char c) { return (c < 0x20 && c != '\t') || c == 0x7f; };
    return !header.name.empty() && std::ranges::none_of(header.name, isControl) &&
           std::ranges::none_of(header.value, isControl);
}

/// One request under way, which lives on its own strand until the last byte.
class Exchange {
public:
    Exchange(SerialExecutor executor, NetworkContext network, HttpRequest request)
        : executor_(std::move(executor)), network_(std::move(network)), request_(std::move(request)) {}

    // The parameter keeps the exchange alive while it is under way.
    static Task<Result<HttpResponse>> run(std::shared_ptr<Exchange> self) {
        co_return co_await self->perform();
    }

private:
    Task<Result<HttpResponse>> perform() {
        if (request_.url.scheme() != "http" && request_.url.scheme() != "https") {
            co_return failure(ErrorKind::invalidInput, "only http and https URLs can be requested");
        }
        if (!std::ranges::all_of(request_.headers, isHeaderSafe)) {
            co_return failure(ErrorKind::invalidInput, "a request header holds control characters");
        }
        connector_ = std::make_shared<Connector>(executor_, network_);
        const auto limit = network_.clock->callAfter(executor_, request_.timeout, [this] { expire(); });
        auto answer = co_await converse();
        // An answer that was complete when the limit passed is still good.
        if (expired_ && !answer) {
            co_return failure(ErrorKind::timeout,
                              "no answer within " + std::to_string(request_.timeout.count() / 1000) + " s");
        }
        co_return answer;
    }

    Task<Result<HttpResponse>> converse() {
        auto connected = co_await connector_->connect(request_.url);
        if (!connected) {
            co_return std::unexpected(connected.error());
        }
        if (!request_.url.isSecure()) {
            plain_.emplace(std::move(*connected));
            co_return co_await exchange(*plain_, request_);
        }
        secure_.emplace(ClientSocket(std::move(*connected)), network_.trust->context());
        const auto shaken = co_await shakeHands(*secure_, request_.url.host());
        if (!shaken) {
            co_return std::unexpected(shaken.error());
        }
        co_return co_await exchange(*secure_, request_);
    }

    // Closing the sockets makes every operation that waits on them fail, and the coroutine ends by itself.
    void expire() {
        expired_ = true;
        connector_->abort();
        boost::system::error_code ignored;
        if (plain_) {
            plain_->close(ignored);
        }
        if (secure_) {
            secure_->next_layer().close(ignored);
        }
    }

    const SerialExecutor executor_;
    const NetworkContext network_;
    const HttpRequest request_;
    std::shared_ptr<Connector> connector_;
    std::optional<Connector::Socket> plain_;
    std::optional<TlsClientStream> secure_;
    bool expired_ = false;
};

class BeastHttpSession final : public HttpSession {
public:
    explicit BeastHttpSession(NetworkContext network) : network_(std::move(network)) {}

    // The request keeps itself alive, because the session's owner may be gone before the answer comes.
    Task<Result<HttpResponse>> send(HttpRequest request) override {
        const SerialExecutor strand = asio::make_strand(network_.executor);
        return carryOut(strand,
                        Exchange::run(std::make_shared<Exchange>(strand, network_, std::move(request))));
    }

private:
    const NetworkContext network_;
};

}  // namespace

std::shared_ptr<HttpSession> HttpSession::make(NetworkContext network) {
    return std::make_shared<BeastHttpSession>(std::move(network));
}

std::shared_ptr<HttpSession> HttpSession::shared() {
    static const auto session = make(NetworkContext::shared());
    return session;
}

}  // namespace tarn
