#pragma once

#include <boost/asio/ip/tcp.hpp>
#include <cstdint>
#include <future>
#include <memory>
#include <vector>

#include "TarnPlatform/base/Asio.h"

namespace tarn::test {

/// A road to a server of this machine that can be cut: everybody's connections break at once, without a word.
class CuttableRoad {
public:
    /// `network`: an executor whose thread runs and that outlives this.
    CuttableRoad(SerialExecutor network, std::uint16_t server);
    ~CuttableRoad();
    CuttableRoad(const CuttableRoad&) = delete;
    CuttableRoad& operator=(const CuttableRoad&) = delete;

    std::uint16_t port() const { return port_; }
    void cut();

private:
    struct State;
    static Task<void> accept(std::shared_ptr<State> state, std::uint16_t server);
    static Task<void> carry(std::shared_ptr<State> state, std::shared_ptr<asio::ip::tcp::socket> client,
                            std::uint16_t server);

    const SerialExecutor network_;
    std::shared_ptr<State> state_;
    std::uint16_t port_ = 0;
};

}  // namespace tarn::test
