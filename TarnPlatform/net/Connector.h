#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/steady_timer.hpp>
#include <chrono>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "NetworkContext.h"
#include "TarnPlatform/base/Result.h"
#include "Url.h"

namespace tarn {

/// Opens the TCP connection to a URL's host, through its proxy where it has one (HTTP CONNECT).
///
/// Addresses are tried in the order of the lookup, one address family after the other in turn; the next one
/// starts when the last has failed or has been silent for `attemptDelay`, and the first to answer wins
/// (RFC 8305, without its DNS part). A dead address therefore costs that delay and not the caller's limit.
///
/// Thread: one serial executor, the socket's later home. One connection each.
class Connector : public std::enable_shared_from_this<Connector> {
public:
    using Socket = asio::ip::tcp::socket;
    static constexpr std::chrono::milliseconds attemptDelay{250};
    /// Unacknowledged for this long, the peer counts as dead and the socket fails.
    static constexpr std::chrono::seconds deadPeerLimit{20};

    Connector(SerialExecutor executor, NetworkContext network);

    /// The connected socket, with TCP_NODELAY, keep-alive and the dead-peer limit set.
    Task<Result<Socket>> connect(Url url);

    /// Ends `connect` at once with `cancelled`, whatever it waits for.
    void abort();

private:
    Task<Result<std::vector<asio::ip::address>>> findAddresses(const Url& url);
    Task<Result<Socket>> race(std::vector<asio::ip::address> addresses, std::uint16_t port, std::string host);
    Task<Result<void>> openTunnel(Socket& socket, const Url& proxy, const Url& target);
    void startNextAttempt();
    void attemptEnded(std::size_t index, const boost::system::error_code& error);
    Task<void> waitForChange();
    void notifyChange();

    struct Attempt {
        std::unique_ptr<Socket> socket;
        bool pending = false;
    };

    const SerialExecutor executor_;
    const NetworkContext network_;
    asio::steady_timer changed_;  ///< never expires; cancelled to notify of a change below
    bool aborted_ = false;
    std::optional<Result<std::vector<asio::ip::address>>> found_;
    std::vector<asio::ip::tcp::endpoint> endpoints_;
    std::vector<Attempt> attempts_;
    std::unique_ptr<ScheduledCall> nextAttempt_;
    std::optional<std::size_t> winner_;
    std::string lastFailure_;
    Socket* tunnelled_ = nullptr;  ///< the one that waits for the proxy's answer
};

}  // namespace tarn
