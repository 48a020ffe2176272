#pragma once

#include <cstdint>
#include <functional>
#include <string>

#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/audio/PcmBuffer.h"
#include "TarnPlatform/base/Result.h"

namespace tarn {

/// The device behind an engine's input.
class AudioUnit {
public:
    /// Captures from the device with this id (of `AudioHardware`) from the next start on; by its name from
    /// then on, so that it is found again when it was away. 0 on success, else a negative system error code:
    /// -ENODEV where there is no such input. Thread: any but the audio server's loop.
    virtual int setCurrentDevice(std::uint32_t deviceId) = 0;

    /// For the device that is captured anyway, because it is the default: stays with it from the next start
    /// on, whatever the default becomes. Otherwise as `setCurrentDevice`.
    virtual int keepCurrentDevice(std::uint32_t deviceId) = 0;

protected:
    ~AudioUnit() = default;
};

/// An engine's microphone. One bus, 0. Belongs to its engine.
///
/// Thread: any but the audio server's loop, one call at a time.
class AudioInputNode {
public:
    /// Called for every captured buffer, of any length. Thread: a serial one of the engine's own, not a
    /// real-time one; the buffer is valid during the call.
    using TapBlock = std::function<void(const PcmBuffer&)>;

    /// What the microphone delivers: Float32, planar, at the device's own rate and channels; with voice
    /// processing, what that makes of it. 0 Hz and 0 channels where there is no microphone, and for any other
    /// bus. Reads the device afresh while the engine does not run.
    virtual AudioFormat inputFormat(std::uint32_t bus) = 0;

    /// Takes the echo of what the engine plays, noise and level changes out of the microphone's sound, and
    /// turns other programs down while the engine plays something. Fails, and changes nothing, where there is
    /// no microphone or its sound cannot be processed, and while the engine runs.
    virtual Result<void> setVoiceProcessingEnabled(bool enabled) = 0;

    /// The chosen device's name, by which it is found again; empty: the default one, whichever that is.
    virtual std::string device() const { return {}; }

    /// Null where the engine has no input.
    virtual AudioUnit* audioUnit() = 0;

    /// Delivers from the engine's start on. `bufferFrames` is a wish; the lengths are the audio server's. One
    /// tap at a time: another takes its place. Requires: `format` is what `inputFormat` gave last.
    virtual void installTap(std::uint32_t bus, std::uint32_t bufferFrames, const AudioFormat& format,
                            TapBlock block) = 0;

    /// On return no call of the block is under way, unless this is it.
    virtual void removeTap(std::uint32_t bus) = 0;

protected:
    ~AudioInputNode() = default;
};

}  // namespace tarn
