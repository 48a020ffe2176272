#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tarn {

// Headers, messages and close codes, as client and server both know them.

struct HttpHeader {
    std::string name;
    std::string value;
};

/// Compares as HTTP compares names of headers and other tokens: the case of ASCII letters does not count.
bool sameIgnoringCase(std::string_view left, std::string_view right);

/// The value of the first header of that name, whose case does not count; empty where there is none.
std::string_view headerValue(const std::vector<HttpHeader>& headers, std::string_view name);

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
