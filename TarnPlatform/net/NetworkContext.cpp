#include "NetworkContext.h"

#include "SystemLookup.h"
#include "TarnPlatform/base/NetworkThread.h"

namespace tarn {

NetworkContext NetworkContext::shared() {
    static const auto trust = TlsTrust::system();
    static const auto proxy = ProxySettings::fromEnvironment();
    return {NetworkThread::shared().executor(), Clock::system(), proxy, trust};
}

Task<Result<std::vector<asio::ip::address>>> NetworkContext::systemLookup(std::string host) {
    const auto lookup = SystemLookup::start(std::move(host));
    auto found = co_await lookup.answers.next();
    co_return found.value_or(failure(ErrorKind::resolution, "no answer"));
}

}  // namespace tarn
