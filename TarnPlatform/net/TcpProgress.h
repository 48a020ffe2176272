#pragma once

#include <cstdint>

namespace tarn {

/// How far the bytes written to a TCP socket have come; both counts only grow.
struct TcpProgress {
    std::uint64_t written = 0;  ///< taken by the system
    std::uint64_t arrived = 0;  ///< acknowledged by the other end, which need not have read them
};

/// `socket`: the descriptor of a connected TCP socket; of anything else nothing is known and both are 0.
TcpProgress tcpProgress(int socket);

}  // namespace tarn
