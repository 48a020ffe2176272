#include "Stretcher.h"

#include <rubberband/RubberBandStretcher.h>
#include <sonic.h>
#include <soundtouch/SoundTouch.h>

#include <algorithm>

namespace tarn::bench {
namespace {

class Sonic : public Stretcher {
public:
    Sonic(double rate, int quality) : stream_(sonicCreateStream(dubRate, 1), sonicDestroyStream) {
        sonicSetSpeed(stream_.get(), static_cast<float>(rate));
        sonicSetQuality(stream_.get(), quality);
    }

    void write(std::span<const float> samples) override {
        block_.assign(samples.begin(), samples.end());  // the library takes no constant samples
        sonicWriteFloatToStream(stream_.get(), block_.data(), static_cast<int>(block_.size()));
    }
    void finish() override { sonicFlushStream(stream_.get()); }
    std::size_t read(std::span<float> samples) override {
        const int most = static_cast<int>(samples.size());
        return static_cast<std::size_t>(sonicReadFloatFromStream(stream_.get(), samples.data(), most));
    }

private:
    std::unique_ptr<sonicStreamStruct, decltype(&sonicDestroyStream)> stream_;
    std::vector<float> block_;
};

/// Milliseconds; 0: the library's own choice.
struct SoundTouchWindows {
    int sequence = 0;
    int seek = 0;
    int overlap = 0;
};

class SoundTouch : public Stretcher {
public:
    SoundTouch(double rate, SoundTouchWindows windows) {
        touch_.setSampleRate(dubRate);
        touch_.setChannels(1);
        touch_.setTempo(rate);
        if (windows.sequence > 0) {
            touch_.setSetting(SETTING_SEQUENCE_MS, windows.sequence);
            touch_.setSetting(SETTING_SEEKWINDOW_MS, windows.seek);
            touch_.setSetting(SETTING_OVERLAP_MS, windows.overlap);
        }
    }

    void write(std::span<const float> samples) override {
        touch_.putSamples(samples.data(), static_cast<unsigned>(samples.size()));
    }
    void finish() override { touch_.flush(); }
    std::size_t read(std::span<float> samples) override {
        return touch_.receiveSamples(samples.data(), static_cast<unsigned>(samples.size()));
    }

private:
    soundtouch::SoundTouch touch_;
};

class RubberBandPeer : public Stretcher {
public:
    using Engine = RubberBand::RubberBandStretcher;

    RubberBandPeer(double rate, int options)
        : rate_(rate),
          engine_(dubRate, 1, Engine::OptionProcessRealTime | Engine::OptionThreadingNever | options,
                  1.0 / rate, 1.0) {
        const std::vector<float> pad(engine_.getPreferredStartPad());
        const float* first = pad.data();
        engine_.process(&first, pad.size(), false);
        early_ = engine_.getStartDelay();
    }

    void write(std::span<const float> samples) override {
        const float* first = samples.data();
        engine_.process(&first, samples.size(), false);
        owed_ += static_cast<double>(samples.size()) / rate_;
    }
    /// Of itself it keeps up to 4 % of a sentence back, so silence pushes the last words out.
    void finish() override {
        const std::vector<float> silence(dubRate / 4);
        const float* first = silence.data();
        engine_.process(&first, silence.size(), true);
    }
    std::size_t read(std::span<float> samples) override {
        while (early_ > 0 && engine_.available() > 0) {
            early_ -= take(samples.first(std::min(samples.size(), early_)));
        }
        const auto most = std::min(samples.size(), static_cast<std::size_t>(std::max(owed_, 0.0)));
        const auto count = most > 0 && engine_.available() > 0 ? take(samples.first(most)) : 0;
        owed_ -= static_cast<double>(count);
        return count;
    }

private:
    std::size_t take(std::span<float> samples) {
        float* first = samples.data();
        return engine_.retrieve(&first,
                                std::min(samples.size(), static_cast<std::size_t>(engine_.available())));
    }

    double rate_;
    double owed_ = 0;  ///< samples that the input so far is worth and that have not been read
    Engine engine_;
    std::size_t early_ = 0;  ///< samples still to come that stand for the padding
};

template <typename Peer, typename Setting>
StretcherKind kind(std::string name, Setting setting) {
    return {std::move(name), [setting](double rate) { return std::make_unique<Peer>(rate, setting); }};
}

}  // namespace

std::vector<StretcherKind> packagedStretchers() {
    using Engine = RubberBand::RubberBandStretcher;
    return {
        kind<Sonic>("sonic", 0),
        kind<Sonic>("sonic, quality 1", 1),
        kind<SoundTouch>("SoundTouch", SoundTouchWindows{}),
        kind<SoundTouch>("SoundTouch 40/15/8 ms", SoundTouchWindows{40, 15, 8}),
        kind<SoundTouch>("SoundTouch 20/15/8 ms", SoundTouchWindows{20, 15, 8}),
        kind<RubberBandPeer>("Rubber Band R2", int{Engine::OptionEngineFaster}),
        kind<RubberBandPeer>("Rubber Band R2 speech", Engine::OptionEngineFaster | Engine::OptionWindowShort |
                                                          Engine::OptionFormantPreserved),
        kind<RubberBandPeer>("Rubber Band R3", int{Engine::OptionEngineFiner}),
    };
}

std::vector<float> stretched(Stretcher& stretcher, std::span<const float> input) {
    std::vector<float> output;
    std::vector<float> part(4096);
    const auto drain = [&] {
        while (const auto count = stretcher.read(part)) {
            output.insert(output.end(), part.begin(), part.begin() + static_cast<std::ptrdiff_t>(count));
        }
    };
    while (!input.empty()) {
        const auto block = input.first(std::min<std::size_t>(input.size(), dubRate / 100));
        input = input.subspan(block.size());
        stretcher.write(block);
        if (!stretcher.playsInRealTime()) {
            drain();
        }
    }
    stretcher.finish();
    drain();
    return output;
}

}  // namespace tarn::bench
