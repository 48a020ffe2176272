#pragma once

#include <cstddef>
#include <cstdint>
#include <expected>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "DubChain.h"
#include "TarnCore/audio/MicError.h"
#include "TarnPlatform/audio/PcmBuffer.h"
#include "TarnPlatform/audioserver/AudioHardware.h"
#include "TarnPlatform/audioserver/MicrophoneAccess.h"
#include "TarnPlatform/engine/AudioEngine.h"

namespace tarn {

/// Captures one microphone for a run and plays the run's translated speech through the same engine, so that
/// voice processing knows what the loudspeakers play. Made for one run, started once and stopped once; held
/// by a shared pointer, because captured sound may still be on its way when the owner lets go.
///
/// Thread: any; `start` and `stop` may block for a few seconds in the worst case, and `enqueueAudio`,
/// `setRate` and `setGain` never do.
class MicSession : public std::enable_shared_from_this<MicSession> {
public:
    using MicError = tarn::MicError;

    /// What it stands on.
    struct Parts {
        std::unique_ptr<AudioEngine> engine = AudioEngine::make();
        AudioHardware* hardware = &AudioHardware::system();  ///< outlives the session, as does `access`
        MicrophoneAccess* access = &MicrophoneAccess::system();
    };

    MicSession();
    explicit MicSession(Parts parts);

    /// Every captured buffer, its first channel only, and then its level: linear, RMS. Set before `start`.
    /// Thread: the engine's capture thread.
    std::function<void(const PcmBuffer&)> onPCM;
    std::function<void(float)> onLevel;

    /// Every step is said in the log. Without a preferred device, or where it is not there, captures the
    /// desktop's default. Where voice processing is not to be had, captures without. After a failure what was
    /// begun stays until `stop`.
    std::expected<void, MicError> start(float rate, bool voiceProcessing,
                                        const std::optional<std::string>& preferredDeviceUID);

    /// Ends playing and capturing; drops what was queued. May be called at any time, more than once.
    void stop();

    /// As `AudioPlayer::enqueue`.
    void enqueueAudio(std::span<const std::byte> bytes) { chain_.enqueue(bytes); }
    double queuedSeconds() const { return chain_.queuedSeconds(); }

    float rate() const { return chain_.rate(); }
    void setRate(float rate) { chain_.setRate(rate); }
    float gain() const { return chain_.gain(); }
    void setGain(float gain) { chain_.setGain(gain); }
    DubChain& dub() { return chain_; }
    /// As `AudioEngine::turnOthersDown`.
    void turnOthersDown(double decibels) { engine_->turnOthersDown(decibels); }
    /// As `AudioEngine::setPlace`.
    void setPlace(float place) { engine_->setPlace(place); }

    /// A new planar one-channel buffer with the first channel of `buffer` in the same sample type, rate and
    /// capacity. Microphones with several channels often carry the voice on the first and a loopback or
    /// nothing on the others, so the first is taken as it is. Nothing for samples other than Float32, Int16
    /// and Int32, and when the memory is not to be had.
    static std::optional<PcmBuffer> extractChannel0(const PcmBuffer& buffer);

    /// The root of the mean square of the first channel: a full-scale sine has 0.707. 0 for an empty buffer
    /// and for samples other than Float32.
    static float rms(const PcmBuffer& buffer);

private:
    using Step = std::expected<void, MicError>;

    AudioFormat probe(const char* label);
    Step route(const std::string& uid);
    void enableVoiceProcessing();
    void disableVoiceProcessing();
    Step installTap();
    Step startEngine();
    void captured(const PcmBuffer& buffer);

    static Step setInputDevice(AudioEngine& engine, std::uint32_t deviceID);

    const std::unique_ptr<AudioEngine> engine_;
    AudioHardware& hardware_;
    MicrophoneAccess& access_;
    DubChain chain_;
    bool tapInstalled_ = false;
    bool voiceProcessingOn_ = false;
};

}  // namespace tarn
