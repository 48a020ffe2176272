#pragma once

#include <cstdint>
#include <string>

namespace tarn {

/// How a realtime connection is doing. Value type.
struct ConnectionHealth {
    enum class State : std::uint8_t {
        answering,
        stalled,  ///< the server has not answered for a while; it may again
        slow,     ///< the network takes the sound, and later than it is spoken
        lost,     ///< for good
    };

    State state = State::answering;
    /// Of `lost`: why, in words for people. What the service itself complained of is "[code] message".
    std::string reason{};
    /// Of `lost`: the service refused to go on, so a new connection would end in the same way.
    bool refusedByService = false;
    /// Of `slow`: how long what is spoken now takes to the server, in whole seconds.
    double behindSeconds = 0;

    bool operator==(const ConnectionHealth&) const = default;
};

}  // namespace tarn
