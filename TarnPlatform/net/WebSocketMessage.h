#pragma once

#include <cstdint>
#include <string>

namespace tarn {

struct WebSocketMessage {
    enum class Kind : std::uint8_t { text, binary };
    Kind kind = Kind::text;
    std::string payload;
};

/// Close codes of RFC 6455 and of this protocol.
inline constexpr std::uint16_t closeNormal = 1000;
inline constexpr std::uint16_t closeGoingAway = 1001;
inline constexpr std::uint16_t closeUnsupported = 1003;
inline constexpr std::uint16_t closeInternalError = 1011;
inline constexpr std::uint16_t closeTryAgainLater = 1013;

}  // namespace tarn
