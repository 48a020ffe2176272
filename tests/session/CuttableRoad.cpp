#include "CuttableRoad.h"

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/post.hpp>

#include "support/Pump.h"

namespace tarn::test {

using asio::ip::tcp;

struct CuttableRoad::State {
    explicit State(const SerialExecutor& network)
        : acceptor(network, tcp::endpoint(asio::ip::address_v4::loopback(), 0)) {}

    tcp::acceptor acceptor;
    std::vector<std::weak_ptr<tcp::socket>> sockets;
    bool isCut = false;
};

CuttableRoad::CuttableRoad(SerialExecutor network, std::uint16_t server)
    : network_(std::move(network)), state_(std::make_shared<State>(network_)) {
    port_ = state_->acceptor.local_endpoint().port();
    asio::co_spawn(network_, accept(state_, server), asio::detached);
}

CuttableRoad::~CuttableRoad() {
    cut();
}

void CuttableRoad::cut() {
    std::promise<void> done;
    asio::post(network_, [&] {
        boost::system::error_code ignored;
        state_->isCut = true;
        state_->acceptor.close(ignored);
        for (const auto& weak : state_->sockets) {
            if (const auto socket = weak.lock(); socket && socket->is_open()) {
                socket->set_option(tcp::socket::linger(true, 0),
                                   ignored);  // a reset, as from a host that is gone
                socket->close(ignored);
            }
        }
        done.set_value();
    });
    done.get_future().get();
}

Task<void> CuttableRoad::accept(std::shared_ptr<State> state, std::uint16_t server) {
    for (;;) {
        auto [error, client] = co_await state->acceptor.async_accept(asValue);
        if (error) {
            co_return;
        }
        auto shared = std::make_shared<tcp::socket>(std::move(client));
        asio::co_spawn(state->acceptor.get_executor(), carry(state, std::move(shared), server),
                       asio::detached);
    }
}

Task<void> CuttableRoad::carry(std::shared_ptr<State> state, std::shared_ptr<tcp::socket> client,
                               std::uint16_t server) {
    auto onward = std::make_shared<tcp::socket>(client->get_executor());
    const tcp::endpoint endpoint(asio::ip::address_v4::loopback(), server);
    const auto [error] = co_await onward->async_connect(endpoint, asValue);
    if (error || state->isCut) {
        co_return;
    }
    std::erase_if(state->sockets, [](const auto& weak) { return weak.expired(); });
    state->sockets.emplace_back(client);
    state->sockets.emplace_back(onward);
    const auto oneWay = [](std::shared_ptr<tcp::socket> from, std::shared_ptr<tcp::socket> to) -> Task<void> {
        co_await pump(*from, *to);
        boost::system::error_code ignored;
        to->shutdown(tcp::socket::shutdown_send, ignored);
    };
    asio::co_spawn(client->get_executor(), oneWay(onward, client), asio::detached);
    co_await oneWay(client, onward);
}

}  // namespace tarn::test
