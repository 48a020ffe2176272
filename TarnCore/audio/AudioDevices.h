#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/audioserver/AudioHardware.h"

namespace tarn {

/// A microphone. Value type; its identity is `id`.
struct AudioInputDevice {
    std::string id;              ///< the device's UID, the same whenever it is there; else `deviceID` as text
    std::string name;            ///< "Unknown" where it has none
    std::uint32_t deviceID = 0;  ///< of the audio server's object; valid while the device is there

    bool operator==(const AudioInputDevice&) const = default;
};

}  // namespace tarn

template <>
struct std::hash<tarn::AudioInputDevice> {
    std::size_t operator()(const tarn::AudioInputDevice& device) const {
        const std::hash<std::string> text;
        return (text(device.id) * 31 + text(device.name)) * 31 + device.deviceID;
    }
};

namespace tarn {

/// The machine's microphones. Every call reads them afresh and blocks meanwhile, for 2 s at most.
/// Thread: any but the audio server's loop.
class AudioDevices {
public:
    AudioDevices() = delete;

    /// Every device with an input channel, in the audio system's order. Empty where the list cannot be read.
    static std::vector<AudioInputDevice> inputs(AudioHardware& hardware = AudioHardware::system());

    /// The desktop's default microphone, or nothing.
    static std::optional<AudioInputDevice> defaultInput(AudioHardware& hardware = AudioHardware::system());

private:
    static std::optional<AudioInputDevice> makeInputDevice(const HardwareDevice& device);
};

}  // namespace tarn
