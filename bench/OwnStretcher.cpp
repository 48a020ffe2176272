#include <algorithm>

#include "Stretcher.h"
#include "TarnPlatform/rendering/AudioPlayerNode.h"
#include "TarnPlatform/rendering/AudioUnitTimePitch.h"

namespace tarn::bench {
namespace {

/// Fed as the service feeds it and heard as it comes: what is read is played, so there is no reading ahead of
/// what has been written, as with the libraries, but the queue must be kept fed while it plays.
class Chain : public Stretcher {
public:
    explicit Chain(double rate) {
        timePitch_.setSource(&player_);
        timePitch_.setRate(static_cast<float>(rate));
        timePitch_.prepare(4096);
        player_.play();
    }

    void write(std::span<const float> samples) override {
        auto buffer = PcmBuffer::make({.commonFormat = CommonFormat::float32,
                                       .sampleRate = dubRate,
                                       .channelCount = 1,
                                       .interleaved = false,
                                       .channelLayout = std::nullopt},
                                      static_cast<std::uint32_t>(samples.size()));
        std::ranges::copy(samples, buffer->floatChannelData());
        buffer->setFrameLength(static_cast<std::uint32_t>(samples.size()));
        player_.scheduleBuffer(std::move(*buffer));
    }
    void finish() override {}
    std::size_t read(std::span<float> samples) override { return timePitch_.pullRt(samples); }
    bool playsInRealTime() const override { return true; }

private:
    AudioPlayerNode player_;
    AudioUnitTimePitch timePitch_;
};

}  // namespace

StretcherKind ownStretcher() {
    return {"AudioUnitTimePitch", [](double rate) { return std::make_unique<Chain>(rate); }};
}

}  // namespace tarn::bench
