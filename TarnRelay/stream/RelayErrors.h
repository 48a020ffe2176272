#pragma once

#include <cstdint>
#include <string>

namespace tarn::relay {

/// The close code of this protocol for a token that is no longer good.
inline constexpr std::uint16_t closeTokenRefused = 4001;

/// The relay's own event that tells the client's user what is wrong.
std::string errorEvent(const std::string& message);

}  // namespace tarn::relay
