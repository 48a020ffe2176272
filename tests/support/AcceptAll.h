#pragma once

#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/ip/tcp.hpp>
#include <memory>
#include <utility>

#include "TarnPlatform/base/Asio.h"

namespace tarn::test {

/// Runs `serve(state, socket)` for each client of `state->acceptor`, until that is closed.
template <typename State, typename Serve>
Task<void> acceptAll(std::shared_ptr<State> state, Serve serve) {
    for (;;) {
        auto [error, socket] = co_await state->acceptor.async_accept(asValue);
        if (error) {
            co_return;
        }
        const auto executor = socket.get_executor();
        asio::co_spawn(executor, serve(state, std::move(socket)), asio::detached);
    }
}

}  // namespace tarn::test
