#include "TestService.h"

#include <stdexcept>

namespace tarn::test {

TestService::TestService(const NetworkContext& network, int upgradeStatus) : upgradeStatus_(upgradeStatus) {
    HttpServer::Limits limits;
    limits.maxMessageBytes = 4U * 1024 * 1024;
    limits.maxQueuedBytes = 64U * 1024 * 1024;
    auto server = HttpServer::listen(
        network, "127.0.0.1", 0, [this](ServerRequest request) { return answer(std::move(request)); },
        limits);
    if (!server) {
        throw std::runtime_error(server.error().description);
    }
    server_ = std::move(*server);
}

TestService::~TestService() = default;

Url TestService::url(const std::string& path) const {
    return Url::parse("ws://127.0.0.1:" + std::to_string(port()) + path).value();
}

Task<ServerReply> TestService::answer(ServerRequest request) {
    const bool accept = request.isUpgrade && upgradeStatus_ == 101;
    requests.push_back(std::move(request));
    if (!accept) {
        ServerResponse response;
        response.status = upgradeStatus_ == 101 ? 404 : upgradeStatus_;
        response.body = "no";
        co_return response;
    }
    co_return WebSocketHandler(
        [this](std::shared_ptr<ServerWebSocket> socket) { return listenTo(std::move(socket)); });
}

Task<void> TestService::listenTo(std::shared_ptr<ServerWebSocket> socket) {
    clients.push(socket);
    for (;;) {
        auto message = co_await socket->receive();
        if (!message) {
            endings.push(message.error());
            co_return;
        }
        messages.push(std::move(message->payload));
    }
}

}  // namespace tarn::test
