#pragma once

#include <boost/asio/ip/address.hpp>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "ProxySettings.h"
#include "TarnPlatform/base/Asio.h"
#include "TarnPlatform/base/Clock.h"
#include "TarnPlatform/base/Result.h"
#include "TlsTrust.h"
#include "Url.h"

namespace tarn {

/// Finds the addresses of a host name, best first. Runs on the connection's strand; may take as long as it
/// likes.
using HostLookup = std::function<Task<Result<std::vector<asio::ip::address>>>(std::string host)>;

/// The parts that every connection of a process shares. Copies share the same clock and trust.
struct NetworkContext {
    SerialExecutor executor;  ///< where sockets live; a connection makes a strand of its own on it
    std::shared_ptr<Clock> clock;
    ProxySettings proxy;
    std::shared_ptr<TlsTrust> trust;
    HostLookup lookUp = systemLookup;
    /// Called when a connection to `url` stands and before anything is sent; a failure ends the attempt.
    /// Where it is empty, every connection may be used. Thread: the connection's.
    std::function<Result<void>(const Url& url)> mayUse{};

    /// The system's resolver (hosts file, DNS).
    static Task<Result<std::vector<asio::ip::address>>> systemLookup(std::string host);

    /// The process's network thread, the system clock, the proxies of the environment, the system's
    /// certificates.
    static NetworkContext shared();
};

}  // namespace tarn
