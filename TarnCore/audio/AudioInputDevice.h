#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

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
