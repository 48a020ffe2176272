#include <speex/speex_echo.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <memory>

#include "EchoCandidates.h"
#include "TarnPlatform/voice/EchoAligner.h"
#include "TarnPlatform/voice/EchoFilter.h"
#include "TarnPlatform/voice/ReferenceTrack.h"
#include "TarnPlatform/voice/ResidualSuppressor.h"

namespace tarn::bench {
namespace {

constexpr int rate = 16000;
constexpr std::size_t hop = 160;
constexpr std::size_t bins = hop + 1;

/// What takes the predictable echo away, a hop at a time.
class Canceller {
public:
    virtual ~Canceller() = default;
    virtual void run(std::span<const float> reference, std::span<const float> microphone,
                     std::span<float> error, std::span<float> echo) = 0;
    virtual std::span<const float> residualPower() const = 0;
    virtual void moved() = 0;  ///< the reference has moved
};

class Ours : public Canceller {
public:
    void run(std::span<const float> reference, std::span<const float> microphone, std::span<float> error,
             std::span<float> echo) override {
        filter_.run(reference, microphone, error, echo);
    }
    std::span<const float> residualPower() const override { return filter_.residualPower(); }
    void moved() override { filter_.doubt(); }

private:
    EchoFilter filter_{hop, 24};
};

/// The library's own filter against direct current (its `filter_dc_notch16`): the echo estimate is the
/// difference between what this lets through and what the library gives.
class Notch {
public:
    float run(float in) {
        constexpr float radius = 0.982F;
        constexpr float denominator = radius * radius + 0.7F * (1 - radius) * (1 - radius);
        const float out = first_ + in;
        first_ = second_ + 2 * (radius * out - in);
        second_ = in - denominator * out;
        return radius * out;
    }

private:
    float first_ = 0;
    float second_ = 0;
};

// It says nothing of what it leaves: the suppressor then goes by what fluctuates with the echo alone.
class Speex : public Canceller {
public:
    explicit Speex(int tailMs)
        : echo_(speex_echo_state_init(static_cast<int>(hop), rate * tailMs / 1000),
                speex_echo_state_destroy) {
        int value = rate;
        speex_echo_ctl(echo_.get(), SPEEX_ECHO_SET_SAMPLING_RATE, &value);
    }
    void run(std::span<const float> reference, std::span<const float> microphone, std::span<float> error,
             std::span<float> echo) override {
        std::array<spx_int16_t, hop> far{};
        std::array<spx_int16_t, hop> near{};
        std::array<spx_int16_t, hop> out{};
        const auto toInt = [](float x) {
            return static_cast<spx_int16_t>(std::lround(std::clamp(x, -1.0F, 1.0F) * 32767));
        };
        std::ranges::transform(reference, far.begin(), toInt);
        std::ranges::transform(microphone, near.begin(), toInt);
        speex_echo_cancellation(echo_.get(), near.data(), far.data(), out.data());
        for (std::size_t i = 0; i < hop; ++i) {
            const float left = static_cast<float>(out[i]) / 32767;
            echo[i] = notch_.run(microphone[i]) - left;
            error[i] = left;
        }
    }
    std::span<const float> residualPower() const override { return nothing_; }
    void moved() override {}

private:
    std::unique_ptr<SpeexEchoState, decltype(&speex_echo_state_destroy)> echo_;
    Notch notch_;
    std::array<float, bins> nothing_{};
};

using Maker = std::function<std::unique_ptr<Canceller>()>;

Processed process(const EchoScene& scene, Canceller& canceller, bool suppress) {
    ReferenceTrack track;
    EchoAligner aligner(track, hop);
    ResidualSuppressor suppressor(hop);
    std::array<float, hop> reference{};
    std::array<float, hop> error{};
    std::array<float, hop> echo{};
    Processed result{.samples = scene.microphone, .seconds = 0};
    const double begin = processorSeconds();
    aligner.pair(0);
    for (std::size_t at = 0; at + hop <= result.samples.size(); at += hop) {
        const auto microphone = std::span(result.samples).subspan(at, hop);
        track.write(std::span(scene.reference).subspan(at, hop));
        if (aligner.run(microphone, reference)) {
            canceller.moved();
        }
        canceller.run(reference, microphone, error, echo);
        if (suppress) {
            suppressor.run(error, echo, canceller.residualPower(), error);
        }
        std::ranges::copy(error, microphone.begin());
    }
    result.seconds = processorSeconds() - begin;
    return result;
}

void add(std::vector<EchoCandidate>& all, const std::string& name, const Maker& make) {
    for (const bool suppress : {false, true}) {
        all.push_back(
            {name + (suppress ? ", suppressed" : " alone"),
             [make, suppress](const EchoScene& scene) { return process(scene, *make(), suppress); }});
    }
}

}  // namespace

std::vector<EchoCandidate> alignedCandidates() {
    std::vector<EchoCandidate> all;
    add(all, "aligned EchoFilter", [] { return std::make_unique<Ours>(); });
    for (const int tailMs : {128, 256}) {
        add(all, "aligned speex " + std::to_string(tailMs),
            [tailMs] { return std::make_unique<Speex>(tailMs); });
    }
    return all;
}

}  // namespace tarn::bench
