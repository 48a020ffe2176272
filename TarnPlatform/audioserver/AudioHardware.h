#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/base/Result.h"

namespace tarn {

/// A device of the machine, real or virtual, that sound comes out of or goes into.
struct HardwareDevice {
    std::uint32_t id = 0;             ///< of the audio server's object; valid while the device is there
    std::optional<std::string> name;  ///< for people
    std::optional<std::string> uid;   ///< the same whenever the device is there
    std::optional<std::uint32_t> inputChannels;  ///< 0: output only; absent where it does not say
};

/// What there is at one moment.
struct HardwareList {
    std::vector<HardwareDevice> devices;        ///< in the order of their ids
    std::optional<std::uint32_t> defaultInput;  ///< a device's id; absent where there is no microphone
};

/// The machine's sound devices. An interface so that what no test machine has can stand in for them.
class AudioHardware {
public:
    virtual ~AudioHardware() = default;

    /// Reads the list afresh. Fails where there is no audio server or it does not answer within 2 s.
    /// Thread: any but the audio server's loop; blocks meanwhile.
    virtual Result<HardwareList> read() = 0;

    /// The desktop's own, which lives as long as the process.
    static AudioHardware& system();
};

}  // namespace tarn
