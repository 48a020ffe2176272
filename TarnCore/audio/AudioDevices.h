#pragma once

#include <optional>
#include <vector>

#include "AudioInputDevice.h"
#include "TarnPlatform/audioserver/AudioHardware.h"

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
