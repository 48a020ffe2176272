#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarn::test {

/// An address of this machine that answers no connection attempt: its backlog is full and nobody accepts.
class Blackhole {
public:
    /// `address`: numeric, within 127.0.0.0/8. `port` 0 picks one.
    explicit Blackhole(const std::string& address, std::uint16_t port = 0);
    ~Blackhole();
    Blackhole(const Blackhole&) = delete;
    Blackhole& operator=(const Blackhole&) = delete;

    std::uint16_t port() const { return port_; }

private:
    std::vector<int> sockets_;
    std::uint16_t port_ = 0;
};

}  // namespace tarn::test
