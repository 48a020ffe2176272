#pragma once

#include <memory>
#include <string>
#include <vector>

#include "TarnPlatform/base/EventQueue.h"
#include "TarnPlatform/webserver/HttpServer.h"

namespace tarn::test {

/// A server on 127.0.0.1 that accepts WebSockets and lets the test play the service.
class TestService {
public:
    /// `upgradeStatus`: 101 accepts; any other status is the answer to every request.
    explicit TestService(const NetworkContext& network, int upgradeStatus = 101);
    ~TestService();
    TestService(const TestService&) = delete;
    TestService& operator=(const TestService&) = delete;

    std::uint16_t port() const { return server_->port(); }
    Url url(const std::string& path = "/stream") const;

    /// Whole messages of all clients, in order of arrival.
    EventQueue<std::string> messages;
    /// One element for each client that connects.
    EventQueue<std::shared_ptr<ServerWebSocket>> clients;
    /// Every request, upgrades included.
    std::vector<ServerRequest> requests;
    /// Why each client's connection ended, as the server saw it.
    EventQueue<Error> endings;

private:
    Task<ServerReply> answer(ServerRequest request);
    Task<void> listenTo(std::shared_ptr<ServerWebSocket> socket);

    int upgradeStatus_;
    std::unique_ptr<HttpServer> server_;
};

}  // namespace tarn::test
