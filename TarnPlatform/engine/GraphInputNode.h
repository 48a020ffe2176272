#pragma once

#include <memory>
#include <optional>
#include <string>

#include "AudioInputNode.h"
#include "EchoReference.h"
#include "MicrophoneStream.h"
#include "MicrophoneWorker.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/voice/VoiceProcessor.h"

namespace tarn {

/// The microphone of a `GraphAudioEngine`.
class GraphInputNode final : public AudioInputNode, private AudioUnit {
public:
    explicit GraphInputNode(AudioServer& server) : server_(server) {}
    /// Requires: stopped.
    ~GraphInputNode() = default;
    GraphInputNode(const GraphInputNode&) = delete;
    GraphInputNode& operator=(const GraphInputNode&) = delete;

    AudioFormat inputFormat(std::uint32_t bus) override;
    Result<void> setVoiceProcessingEnabled(bool enabled) override;
    std::string device() const override { return chosen_.value_or(""); }
    AudioUnit* audioUnit() override { return this; }
    void installTap(std::uint32_t bus, std::uint32_t bufferFrames, const AudioFormat& format,
                    TapBlock block) override;
    void removeTap(std::uint32_t bus) override;

    // The engine's.
    bool hasTap() const { return block_ != nullptr; }
    bool hasVoiceProcessing() const { return voice_ != nullptr; }
    /// Begins to capture where there is a tap. `reference` is what the loudspeakers
    /// are given.
    Result<void> start(const std::string& group, std::shared_ptr<EchoReference> reference);
    void stop();

private:
    int setCurrentDevice(std::uint32_t deviceId) override;
    int keepCurrentDevice(std::uint32_t deviceId) override { return setCurrentDevice(deviceId); }

    MicrophoneFormat deviceFormat();

    AudioServer& server_;
    std::optional<std::string> chosen_;  // node name; absent: the default
    MicrophoneFormat format_;            // as read last
    std::shared_ptr<VoiceProcessor> voice_;
    TapBlock block_;
    // While it runs.
    std::shared_ptr<MicrophoneWorker> worker_;
    std::unique_ptr<MicrophoneStream> stream_;
};

}  // namespace tarn
