#pragma once

#include <cstdint>
#include <string>

namespace tarn {

/// How a realtime connection is doing. Value type.
struct ConnectionHealth {
    enum class State : std::uint8_t {
        answering,
        stalled,     ///< the server has not answered for a while; it may again
        slow,        ///< the network takes the sound, and later than it is spoken
        resuming,    ///< the connection is lost, and another one is tried
        catchingUp,  ///< a new connection takes what was kept while there was none
        lost,        ///< for good
    };

    State state = State::answering;
    /// Of `lost` and `resuming`: why, in words for people. What the service itself complained of is "[code]
    /// message".
    std::string reason{};
    /// Of `lost`: the service refused to go on, so a new connection would end in the same way.
    bool refusedByService = false;
    /// Of `slow`: how long what is spoken now takes to the server, in whole seconds. Of `catchingUp`: how
    /// much of what was kept is still to be sent, in seconds.
    double behindSeconds = 0;
    /// A stand-in on this machine translates in place of the service.
    bool standIn = false;

    bool operator==(const ConnectionHealth&) const = default;
};

}  // namespace tarn
