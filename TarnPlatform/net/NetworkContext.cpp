#include "NetworkContext.h"

#include <algorithm>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/this_coro.hpp>

#include "TarnPlatform/concurrency/NetworkThread.h"

namespace tarn {

NetworkContext NetworkContext::shared() {
    static const auto trust = TlsTrust::system();
    static const auto proxy = ProxySettings::fromEnvironment();
    return {NetworkThread::shared().executor(), Clock::system(), proxy, trust};
}

Task<Result<std::vector<asio::ip::address>>> NetworkContext::systemLookup(std::string host) {
    asio::ip::tcp::resolver resolver(co_await asio::this_coro::executor);
    const auto [error, entries] = co_await resolver.async_resolve(host, "", asValue);
    if (error) {
        co_return failure(ErrorKind::resolution, error.message());
    }
    std::vector<asio::ip::address> addresses;
    for (const auto& entry : entries) {
        const auto address = entry.endpoint().address();
        if (std::ranges::find(addresses, address) == addresses.end()) {
            addresses.push_back(address);
        }
    }
    co_return addresses;
}

}  // namespace tarn
