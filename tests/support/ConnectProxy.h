#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "TarnPlatform/base/Asio.h"

namespace tarn::test {

/// An HTTP proxy that knows CONNECT only. Whatever host is asked for, it connects to `targetPort` on
/// 127.0.0.1.
class ConnectProxy {
public:
    /// `answer`: its status line and headers, "HTTP/1.1 200 OK\r\n\r\n" for a willing one.
    ConnectProxy(SerialExecutor executor, std::uint16_t targetPort, std::string answer);
    ~ConnectProxy();
    ConnectProxy(const ConnectProxy&) = delete;
    ConnectProxy& operator=(const ConnectProxy&) = delete;

    std::uint16_t port() const;
    /// The request heads received so far.
    const std::vector<std::string>& requests() const;

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace tarn::test
