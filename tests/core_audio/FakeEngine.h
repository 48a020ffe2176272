#pragma once

#include <deque>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "TarnPlatform/engine/AudioEngine.h"

namespace tarn::test {

/// An engine without a server: what it shall report is put in, and what its input was asked is written down.
class FakeEngine : public AudioEngine, public AudioInputNode, public AudioUnit {
public:
    struct Script {
        std::deque<std::pair<double, std::uint32_t>> formats;  ///< Hz and channels; the last one stays
        bool hasUnit = true;
        int deviceStatus = 0;
        Result<void> voiceProcessing;
        Result<void> started;
        std::string calls;
        TapBlock tap;
    };

    explicit FakeEngine(std::shared_ptr<Script> script) : script_(std::move(script)) {}

    void attach(std::shared_ptr<AudioNode> node) override { nodes_.push_back(std::move(node)); }
    void connect(AudioNode& from, AudioNode& to, const AudioFormat&) override { to.setSource(&from); }
    AudioNode& mainMixerNode() override { return mixer_; }
    AudioInputNode& inputNode() override { return *this; }
    void prepare() override { mixer_.prepare(1024); }
    Result<void> start() override {
        running_ = script_->started.has_value();
        return script_->started;
    }
    bool isRunning() const override { return running_; }
    void stop() override {
        script_->calls += "stop ";
        running_ = false;
    }
    AudioFormat inputFormat(std::uint32_t) override {
        const auto [rate, channels] = script_->formats.front();
        if (script_->formats.size() > 1) {
            script_->formats.pop_front();
        }
        return {CommonFormat::float32, rate, channels, false, std::nullopt};
    }
    Result<void> setVoiceProcessingEnabled(bool enabled) override {
        script_->calls += enabled ? "enable " : "disable ";
        return script_->voiceProcessing;
    }
    AudioUnit* audioUnit() override { return script_->hasUnit ? this : nullptr; }
    void installTap(std::uint32_t, std::uint32_t, const AudioFormat&, TapBlock block) override {
        script_->tap = std::move(block);
    }
    void removeTap(std::uint32_t) override { script_->calls += "untap "; }
    int setCurrentDevice(std::uint32_t) override { return script_->deviceStatus; }
    int keepCurrentDevice(std::uint32_t) override { return script_->deviceStatus; }

private:
    struct Mixer : AudioNode {
        void renderRt(std::span<float> out) noexcept override { pullSourceRt(out); }
    };

    const std::shared_ptr<Script> script_;
    std::vector<std::shared_ptr<AudioNode>> nodes_;
    Mixer mixer_;
    bool running_ = false;
};

}  // namespace tarn::test
