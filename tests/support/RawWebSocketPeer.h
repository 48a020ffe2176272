#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "TarnPlatform/base/Asio.h"

namespace tarn::test {

/// One unmasked server frame, or as much of one as wanted. `opcode`: 1 text, 2 binary, 8 close.
std::string serverFrame(int opcode, std::string_view payload);

/// A server on 127.0.0.1 that upgrades each client and then sends `bytes` as they stand, whatever they are.
/// It closes the socket afterwards, or, with `thenStay`, keeps it open and reads nothing.
class RawWebSocketPeer {
public:
    enum class Afterwards : std::uint8_t { close, stay };
    RawWebSocketPeer(SerialExecutor executor, std::string bytes, Afterwards afterwards);
    ~RawWebSocketPeer();
    RawWebSocketPeer(const RawWebSocketPeer&) = delete;
    RawWebSocketPeer& operator=(const RawWebSocketPeer&) = delete;

    std::uint16_t port() const;
    /// To every client that stays. Waits for the sockets. Thread: the executor's.
    void send(std::string_view bytes);

private:
    struct State;
    std::shared_ptr<State> state_;
};

}  // namespace tarn::test
