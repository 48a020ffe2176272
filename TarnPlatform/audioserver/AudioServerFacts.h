#pragma once

#include <chrono>
#include <string>
#include <vector>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// What an audio server says of itself, for people who look for a fault. Value type.
struct AudioServerFacts {
    std::string version;                ///< "0.3.65"
    std::vector<std::string> managers;  ///< programs that make devices and links: "WirePlumber"
    bool hasDefaults = false;           ///< somebody keeps which output and input are the default ones

    /// Over a connection of its own. Fails where no server listens, or it does not answer within `limit`.
    /// Thread: any; blocks meanwhile.
    static Result<AudioServerFacts> read(std::chrono::milliseconds limit);
};

}  // namespace tarn
