#include "ConnectProxy.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <boost/asio/read_until.hpp>

#include "AcceptAll.h"
#include "Pump.h"

namespace tarn::test {

using asio::ip::tcp;

struct ConnectProxy::State {
    State(SerialExecutor executor, std::uint16_t targetPort, std::string text)
        : acceptor(executor, {asio::ip::address_v4::loopback(), 0}),
          target(asio::ip::address_v4::loopback(), targetPort),
          answer(std::move(text)) {}
    tcp::acceptor acceptor;
    tcp::endpoint target;
    std::string answer;
    std::vector<std::string> requests;
};

namespace {

template <typename State>
Task<void> serve(std::shared_ptr<State> state, tcp::socket client) {
    using namespace asio::experimental::awaitable_operators;
    std::string head;
    const auto [readError, size] =
        co_await asio::async_read_until(client, asio::dynamic_buffer(head, 16384), "\r\n\r\n", asValue);
    if (readError) {
        co_return;
    }
    state->requests.push_back(head.substr(0, size));
    co_await asio::async_write(client, asio::buffer(state->answer), asValue);
    tcp::socket server(client.get_executor());
    const auto [connectError] = co_await server.async_connect(state->target, asValue);
    if (connectError) {
        co_return;
    }
    co_await (pump(client, server) || pump(server, client));
}

}  // namespace

ConnectProxy::ConnectProxy(SerialExecutor executor, std::uint16_t targetPort, std::string answer)
    : state_(std::make_shared<State>(executor, targetPort, std::move(answer))) {
    asio::co_spawn(executor, acceptAll(state_, serve<State>), asio::detached);
}

ConnectProxy::~ConnectProxy() {
    boost::system::error_code ignored;
    state_->acceptor.close(ignored);
}

std::uint16_t ConnectProxy::port() const {
    return state_->acceptor.local_endpoint().port();
}

const std::vector<std::string>& ConnectProxy::requests() const {
    return state_->requests;
}

}  // namespace tarn::test
