#include "Connector.h"

#include <netinet/tcp.h>

#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/post.hpp>
#include <boost/asio/write.hpp>
#include <boost/beast/core/flat_buffer.hpp>
#include <boost/beast/http/empty_body.hpp>
#include <boost/beast/http/parser.hpp>
#include <boost/beast/http/read.hpp>
#include <cctype>
#include <span>

#include "Base64.h"

namespace tarn {
namespace {

namespace ip = asio::ip;
namespace http = boost::beast::http;

// The lookup puts the preferred family first, but a network on which that family is dead would cost the delay
// of every one of its addresses before the other family got a turn.
std::vector<ip::address> alternateFamilies(const std::vector<ip::address>& addresses) {
    std::vector<ip::address> first;
    std::vector<ip::address> second;
    for (const auto& address : addresses) {
        (address.is_v6() == addresses.front().is_v6() ? first : second).push_back(address);
    }
    std::vector<ip::address> ordered;
    for (std::size_t i = 0; i < std::max(first.size(), second.size()); ++i) {
        if (i < first.size()) {
            ordered.push_back(first[i]);
        }
        if (i < second.size()) {
            ordered.push_back(second[i]);
        }
    }
    return ordered;
}

void setOptions(Connector::Socket& socket) {
    // The connection works without any of these options, so their errors are ignored.
    boost::system::error_code ignored;
    socket.set_option(ip::tcp::no_delay(true), ignored);
    socket.set_option(asio::socket_base::keep_alive(true), ignored);
    using Seconds = std::chrono::seconds;
    const auto limit = std::chrono::duration_cast<Seconds>(Connector::deadPeerLimit).count();
    // TCP_USER_TIMEOUT ends a connection whose data nobody acknowledges, keep-alive an idle one: without them
    // the kernel retransmits for a quarter of an hour, or waits for ever.
    const int userTimeout = static_cast<int>(limit) * 1000;
    const int probeAfter = static_cast<int>(limit) / 2;
    const int probeEvery = static_cast<int>(limit) / 4;
    const int handle = socket.native_handle();
    ::setsockopt(handle, IPPROTO_TCP, TCP_USER_TIMEOUT, &userTimeout, sizeof userTimeout);
    ::setsockopt(handle, IPPROTO_TCP, TCP_KEEPIDLE, &probeAfter, sizeof probeAfter);
    ::setsockopt(handle, IPPROTO_TCP, TCP_KEEPINTVL, &probeEvery, sizeof probeEvery);
    // Sound that waits in the kernel's buffer is late and cannot be dropped any more. With this limit the
    // socket is writable only while little waits there, so that the queue stands on our side.
    constexpr int mostUnsent = 8192;
    ::setsockopt(handle, IPPROTO_TCP, TCP_NOTSENT_LOWAT, &mostUnsent, sizeof mostUnsent);
}

}  // namespace

Connector::Connector(SerialExecutor executor, NetworkContext network)
    : executor_(std::move(executor)),
      network_(std::move(network)),
      changed_(executor_, asio::steady_timer::time_point::max()) {}

Task<Result<Connector::Socket>> Connector::connect(Url url) {
    const auto self = shared_from_this();
    if (url.host().empty()) {
        co_return failure(ErrorKind::invalidInput, "the URL names no host");
    }
    std::optional<Url> proxy;
    if (const auto proxyText = network_.proxy.proxyFor(url)) {
        auto parsed = Url::parse(proxyText->contains("://") ? *proxyText : "http://" + *proxyText);
        if (!parsed || parsed->scheme() != "http" || parsed->host().empty()) {
            co_return failure(ErrorKind::proxy, "https_proxy is not a usable http:// URL");
        }
        proxy = std::move(*parsed);
    }
    const Url& next = proxy ? *proxy : url;
    auto addresses = co_await findAddresses(next);
    if (!addresses) {
        co_return std::unexpected(addresses.error());
    }
    auto socket = co_await race(std::move(*addresses), next.portOrDefault(), next.hostHeader());
    if (!socket) {
        co_return socket;
    }
    // Asked only now: it looks at who listens there, which may change until the connection stands.
    if (network_.mayUse) {
        if (const auto allowed = network_.mayUse(url); !allowed) {
            co_return std::unexpected(allowed.error());
        }
    }
    setOptions(*socket);
    if (proxy) {
        const auto opened = co_await openTunnel(*socket, *proxy, url);
        if (!opened) {
            co_return std::unexpected(opened.error());
        }
    }
    co_return socket;
}

void Connector::abort() {
    aborted_ = true;
    nextAttempt_.reset();
    boost::system::error_code ignored;
    for (auto& attempt : attempts_) {
        if (attempt.socket) {
            attempt.socket->close(ignored);
        }
    }
    if (tunnelled_ != nullptr) {
        tunnelled_->close(ignored);
    }
    notifyChange();
}

Task<Result<std::vector<ip::address>>> Connector::findAddresses(const Url& url) {
    const auto& host = url.host();
    boost::system::error_code notNumeric;
    const auto literal = ip::make_address(host, notNumeric);
    if (!notNumeric) {
        co_return std::vector{literal};
    }
    if (url.isLoopback()) {
        // RFC 6761 defines the name so, and callers trust it with data that may not leave the machine: no
        // resolver is asked, which could answer something else.
        co_return std::vector<ip::address>{ip::address_v4::loopback(), ip::address_v6::loopback()};
    }
    // The system's lookup cannot be interrupted, so it runs as a coroutine of its own, which is left behind
    // when the limit passes.
    asio::co_spawn(executor_, network_.lookUp(host),
                   [self = shared_from_this()](const std::exception_ptr& exception,
                                               Result<std::vector<ip::address>> addresses) {
                       self->found_ =
                           exception ? failure(ErrorKind::resolution, "lookup failed") : std::move(addresses);
                       self->notifyChange();
                   });
    while (!found_ && !aborted_) {
        co_await waitForChange();
    }
    if (aborted_) {
        co_return failure(ErrorKind::cancelled, "cancelled while looking up " + host);
    }
    if (!*found_) {
        co_return failure(ErrorKind::resolution,
                          "cannot find the address of " + host + ": " + found_->error().description);
    }
    if ((*found_)->empty()) {
        co_return failure(ErrorKind::resolution, host + " has no address");
    }
    co_return alternateFamilies(**found_);
}

Task<Result<Connector::Socket>> Connector::race(std::vector<ip::address> addresses, std::uint16_t port,
                                                std::string host) {
    for (const auto& address : addresses) {
        endpoints_.emplace_back(address, port);
    }
    // Attempts report by callbacks rather than as coroutines: the loser must be closed while it is under way,
    // and the winner must not wait until the losers have ended.
    startNextAttempt();
    const auto isUndecided = [this] {
        return !aborted_ && !winner_ &&
               (attempts_.size() < endpoints_.size() || std::ranges::any_of(attempts_, &Attempt::pending));
    };
    while (isUndecided()) {
        co_await waitForChange();
    }
    nextAttempt_.reset();
    std::unique_ptr<Socket> connected = winner_ ? std::move(attempts_[*winner_].socket) : nullptr;
    boost::system::error_code ignored;
    for (auto& attempt : attempts_) {
        if (attempt.socket) {
            attempt.socket->close(ignored);
        }
    }
    if (aborted_) {
        co_return failure(ErrorKind::cancelled, "cancelled while connecting to " + host);
    }
    if (!connected) {
        co_return failure(ErrorKind::connection, "cannot connect to " + host + ": " + lastFailure_);
    }
    co_return std::move(*connected);
}

void Connector::startNextAttempt() {
    if (aborted_ || winner_ || attempts_.size() == endpoints_.size()) {
        return;
    }
    const std::size_t index = attempts_.size();
    auto& attempt = attempts_.emplace_back(std::make_unique<Socket>(executor_), true);
    attempt.socket->async_connect(endpoints_[index],
                                  [self = shared_from_this(), index](const boost::system::error_code& error) {
                                      self->attemptEnded(index, error);
                                  });
    nextAttempt_ = network_.clock->callAfter(executor_, attemptDelay, [self = weak_from_this()] {
        if (const auto connector = self.lock()) {
            connector->startNextAttempt();
        }
    });
}

void Connector::attemptEnded(std::size_t index, const boost::system::error_code& error) {
    attempts_[index].pending = false;
    if (error) {
        if (!winner_ && !aborted_) {
            lastFailure_ = error.message();
            if (!lastFailure_.empty()) {  // it stands in the middle of a sentence
                lastFailure_.front() =
                    static_cast<char>(std::tolower(static_cast<unsigned char>(lastFailure_.front())));
            }
        }
        startNextAttempt();
    } else if (!winner_) {
        winner_ = index;
    }
    notifyChange();
}

Task<Result<void>> Connector::openTunnel(Socket& socket, const Url& proxy, const Url& target) {
    std::string host = target.host().contains(':') ? "[" + target.host() + "]" : target.host();
    host += ":" + std::to_string(target.portOrDefault());
    std::string request = "CONNECT " + host + " HTTP/1.1\r\nHost: " + host + "\r\n";
    if (!proxy.userInfo().empty()) {
        request +=
            "Proxy-Authorization: Basic " + base64Encode(std::as_bytes(std::span(proxy.userInfo()))) + "\r\n";
    }
    request += "\r\n";
    tunnelled_ = &socket;
    const auto proxyName = "the proxy " + proxy.hostHeader();
    const auto [writeError, written] = co_await asio::async_write(socket, asio::buffer(request), asValue);
    boost::beast::flat_buffer buffer(16384);
    http::response_parser<http::empty_body> answer;
    answer.skip(true);  // an answer to CONNECT has no body, whatever its headers say (RFC 9110, 9.3.6)
    boost::system::error_code readError = writeError;
    if (!writeError) {
        const auto [error, size] = co_await http::async_read_header(socket, buffer, answer, asValue);
        readError = error;
    }
    tunnelled_ = nullptr;
    if (aborted_) {
        co_return failure(ErrorKind::cancelled, "cancelled while connecting through " + proxyName);
    }
    if (readError) {
        co_return failure(ErrorKind::proxy, proxyName + " does not answer: " + readError.message());
    }
    if (answer.get().result_int() / 100 != 2) {
        const int status = static_cast<int>(answer.get().result_int());
        co_return failure(ErrorKind::proxy,
                          proxyName + " refused the connection with status " + std::to_string(status),
                          status);
    }
    // Neither TLS nor HTTP lets the server speak first, so these bytes are not the target's.
    if (buffer.size() != 0) {
        co_return failure(ErrorKind::proxy, proxyName + " sent bytes before the connection was used");
    }
    co_return Result<void>();
}

Task<void> Connector::waitForChange() {
    co_await changed_.async_wait(asValue);
}

void Connector::notifyChange() {
    changed_.cancel();
}

}  // namespace tarn
