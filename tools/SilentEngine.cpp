#include "SilentEngine.h"

#include <vector>

#include "TarnPlatform/rendering/MainMixerNode.h"

namespace tarn::cli {
namespace {

class NoInput final : public AudioInputNode {
public:
    AudioFormat inputFormat(std::uint32_t /*bus*/) override { return {}; }
    Result<void> setVoiceProcessingEnabled(bool enabled) override {
        return enabled ? failure(ErrorKind::unavailable, "there is no microphone") : Result<void>();
    }
    AudioUnit* audioUnit() override { return nullptr; }
    void installTap(std::uint32_t /*bus*/, std::uint32_t /*bufferFrames*/, const AudioFormat& /*format*/,
                    TapBlock /*block*/) override {}
    void removeTap(std::uint32_t /*bus*/) override {}
};

class SilentEngine final : public AudioEngine {
public:
    void attach(std::shared_ptr<AudioNode> node) override { nodes_.push_back(std::move(node)); }
    void connect(AudioNode& /*from*/, AudioNode& /*to*/, const AudioFormat& /*format*/) override {}
    AudioNode& mainMixerNode() override { return mixer_; }
    AudioInputNode& inputNode() override { return input_; }
    void prepare() override {}
    Result<void> start() override {
        running_ = true;
        return {};
    }
    bool isRunning() const override { return running_; }
    void stop() override { running_ = false; }

private:
    MainMixerNode mixer_;
    NoInput input_;
    std::vector<std::shared_ptr<AudioNode>> nodes_;
    bool running_ = false;
};

}  // namespace

std::unique_ptr<AudioEngine> makeSilentEngine() {
    return std::make_unique<SilentEngine>();
}

}  // namespace tarn::cli
