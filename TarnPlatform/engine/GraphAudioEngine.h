#pragma once

#include <atomic>
#include <memory>
#include <vector>

#include "AudioEngine.h"
#include "Ducker.h"
#include "GraphInputNode.h"
#include "OutputMonitor.h"
#include "PlaybackStream.h"
#include "TarnPlatform/audioserver/AudioServer.h"
#include "TarnPlatform/rendering/MainMixerNode.h"
#include "TarnPlatform/rendering/StereoPlace.h"

namespace tarn {

/// The engine on the desktop's audio server.
class GraphAudioEngine final : public AudioEngine {
public:
    /// Requires: `server` outlives this.
    GraphAudioEngine(AudioServer& server, Options options);
    ~GraphAudioEngine() override;

    void attach(std::shared_ptr<AudioNode> node) override;
    void connect(AudioNode& from, AudioNode& to, const AudioFormat& format) override;
    AudioNode& mainMixerNode() override { return mixer_; }
    AudioInputNode& inputNode() override { return input_; }
    void turnOthersDown(double decibels) override;
    void setPlace(float place) override { place_.setPlace(place); }
    void prepare() override;
    Result<void> start() override;
    bool isRunning() const override { return running_; }
    void stop() override;

private:
    Result<void> startMonitoring(const std::string& group);
    Result<void> startPlaying(const std::string& group);
    void startDucking(bool processed);

    AudioServer& server_;
    const Options options_;
    const std::shared_ptr<DuckingVoice> voice_ = std::make_shared<DuckingVoice>();
    std::atomic<bool> toldOfOthers_{false};  // `voice_` has what the caller wants
    std::vector<std::shared_ptr<AudioNode>> nodes_;
    MainMixerNode mixer_;
    StereoPlace place_;
    GraphInputNode input_;
    AudioFormat format_;  // of the connections; 0 Hz: there are none
    bool mixed_ = true;   // all of the same format
    bool prepared_ = false;
    std::atomic<bool> running_{false};
    // While it runs.
    std::shared_ptr<EchoReference> reference_;
    std::unique_ptr<OutputMonitor> monitor_;
    std::unique_ptr<PlaybackStream> playback_;
    std::shared_ptr<Ducker> ducker_;
};

}  // namespace tarn
