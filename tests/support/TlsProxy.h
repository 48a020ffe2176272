#pragma once

#include <cstdint>
#include <memory>

#include "TarnPlatform/base/Asio.h"
#include "TestCertificates.h"

namespace tarn::test {

/// Ends TLS in front of a plain server on this machine and passes the bytes on, so that a plain test server
/// can be met over https and wss. Listens on 127.0.0.1; runs on the executor it is given until it is
/// destroyed.
class TlsProxy {
public:
    TlsProxy(SerialExecutor executor, const TestCertificates::Identity& identity, std::uint16_t plainPort);
    ~TlsProxy();
    TlsProxy(const TlsProxy&) = delete;
    TlsProxy& operator=(const TlsProxy&) = delete;

    std::uint16_t port() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace tarn::test
