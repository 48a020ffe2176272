#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// What the session bus knows of a service.
enum class BusNamePresence : std::uint8_t {
    owned,        ///< it runs
    activatable,  ///< the bus can start it
    absent,       ///< neither
};

/// Whether somebody answers for `name` on the session bus. Asks the bus alone and starts nothing. Fails with
/// `unavailable` where there is no bus, with `timeout` where it does not answer within `limit`. Thread: any;
/// blocks meanwhile.
Result<BusNamePresence> busNamePresence(const std::string& name, std::chrono::milliseconds limit);

/// The version of the running desktop portal's settings; nothing where it has none or does not run. As above.
Result<std::optional<std::uint32_t>> portalSettingsVersion(std::chrono::milliseconds limit);

}  // namespace tarn
