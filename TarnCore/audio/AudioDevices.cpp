#include "AudioDevices.h"

#include <algorithm>
#include <string>
#include <utility>

namespace tarn {

std::optional<AudioInputDevice> AudioDevices::makeInputDevice(const HardwareDevice& device) {
    if (device.inputChannels.value_or(0) == 0) {
        return std::nullopt;
    }
    return AudioInputDevice{.id = device.uid.value_or(std::to_string(device.id)),
                            .name = device.name.value_or("Unknown"),
                            .deviceID = device.id};
}

std::vector<AudioInputDevice> AudioDevices::inputs(AudioHardware& hardware) {
    std::vector<AudioInputDevice> inputs;
    if (const auto list = hardware.read()) {
        for (const HardwareDevice& device : list->devices) {
            if (auto input = makeInputDevice(device)) {
                inputs.push_back(std::move(*input));
            }
        }
    }
    return inputs;
}

std::optional<AudioInputDevice> AudioDevices::defaultInput(AudioHardware& hardware) {
    const auto list = hardware.read();
    if (!list || !list->defaultInput) {
        return std::nullopt;
    }
    const auto found = std::ranges::find(list->devices, *list->defaultInput, &HardwareDevice::id);
    return found == list->devices.end() ? std::nullopt : makeInputDevice(*found);
}

}  // namespace tarn
