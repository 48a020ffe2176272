#include "VoiceProcessor.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <string>

#include "BlockClock.h"
#include "EchoAligner.h"
#include "EchoFilter.h"
#include "LevelControl.h"
#include "ReferenceTrack.h"
#include "ResidualSuppressor.h"
#include "TarnPlatform/audio/RateConverter.h"

namespace tarn {
namespace {

constexpr double lowestRate = 8000;
constexpr double highestRate = 192000;
constexpr std::size_t hop = 160;        // 10 ms at the output's rate
constexpr std::size_t partitions = 24;  // 240 ms
constexpr std::size_t piece = 4096;     // samples that are converted at a time
constexpr double presumedDead = 0.25;   // seconds without a block after which no reference is waited for
constexpr double rePairing = 0.010;     // seconds that the pairing may be off when the reference comes back
constexpr double absence = 1.0;         // seconds after which it counts as coming back
constexpr float loudest = 8.0F;         // a sample of more is an error of its source, and is cut

double secondsOf(std::int64_t nanoseconds) {
    return static_cast<double>(nanoseconds) * 1e-9;
}

// Replaces what is NaN or infinite and cuts what is far beyond full scale. One such sample would stay in the
// filter's weights for good.
void copyClean(std::span<const float> from, std::vector<float>& to) {
    to.resize(from.size());
    std::ranges::transform(from, to.begin(), [](float sample) {
        return std::isfinite(sample) ? std::clamp(sample, -loudest, loudest) : 0.0F;
    });
}

}  // namespace

/// The processing itself.
class VoiceProcessor::Engine {
public:
    Engine(RateConverter microphone, RateConverter reference, double microphoneRate,
           VoiceProcessing processing)
        : processing_(processing),
          microphoneConverter_(std::move(microphone)),
          referenceConverter_(std::move(reference)),
          microphoneClock_(microphoneRate),
          referenceClock_(referenceRate),
          aligner_(track_, hop),
          filter_(hop, partitions),
          suppressor_(hop),
          level_(hop, outputRate),
          converted_(piece) {
        pending_.reserve(static_cast<std::size_t>(outputRate));
    }

    void reference(std::int64_t time, std::span<const float> samples);
    void process(std::int64_t time, std::span<const float> microphone, std::vector<float>& out);

private:
    void pairAgain(double away);
    bool referenceIsHere() const;
    void processHop(std::vector<float>& out);

    /// The sample of the reference that was rendered at `time`.
    double indexAt(double time) const {
        return static_cast<double>(track_.end()) + (time - referenceClock_.endTime()) * outputRate;
    }
    /// The time of the first sample that is pending.
    double pendingTime() const {
        return microphoneClock_.endTime() - static_cast<double>(pending_.size()) / outputRate;
    }

    VoiceProcessing processing_;
    RateConverter microphoneConverter_;
    RateConverter referenceConverter_;
    BlockClock microphoneClock_;
    BlockClock referenceClock_;
    ReferenceTrack track_;
    EchoAligner aligner_;
    EchoFilter filter_;
    ResidualSuppressor suppressor_;
    LevelControl level_;
    std::vector<float> clean_;
    std::vector<float> converted_;
    std::vector<float> pending_;  // of the microphone, at the output's rate
    std::array<float, hop> referenceHop_{};
    std::array<float, hop> error_{};
    std::array<float, hop> echo_{};
    bool paired_ = false;  // both streams have begun
};

void VoiceProcessor::Engine::reference(std::int64_t time, std::span<const float> samples) {
    if (samples.empty()) {
        return;
    }
    const double jump = referenceClock_.arrive(secondsOf(time), samples.size());
    if (jump > 0) {
        track_.skip(static_cast<std::uint64_t>(std::min(jump, 1e6) * outputRate));
    } else if (jump < 0 && paired_) {
        aligner_.shift(-jump * outputRate);
    }
    copyClean(samples, clean_);
    referenceConverter_.write(clean_);
    while (const auto count = referenceConverter_.read(converted_)) {
        track_.write(std::span(converted_).first(count));
    }
    if (paired_ && jump > absence) {
        pairAgain(jump);
    }
}

// Samples are counted while both streams run. After a long absence of one the count may have drifted from the
// times; where it has not, the pairing stays, because it is exacter than the times are.
void VoiceProcessor::Engine::pairAgain(double away) {
    const double expected = indexAt(pendingTime());
    // Times are good for a block, and the clocks may have drifted by 200e-6 of the absence.
    const double tolerance = rePairing + referenceClock_.longestBlock() + away * 200e-6;
    if (std::abs(expected - aligner_.position()) > tolerance * outputRate) {
        aligner_.pair(expected);
    }
}

void VoiceProcessor::Engine::process(std::int64_t time, std::span<const float> microphone,
                                     std::vector<float>& out) {
    if (microphone.empty()) {
        return;
    }
    const auto before = pending_.size();
    const double jump = microphoneClock_.arrive(secondsOf(time), microphone.size());
    if (jump != 0 && paired_) {
        aligner_.shift(jump * outputRate);
    }
    copyClean(microphone, clean_);
    microphoneConverter_.write(clean_);
    while (const auto count = microphoneConverter_.read(converted_)) {
        pending_.insert(pending_.end(), converted_.begin(),
                        converted_.begin() + static_cast<std::ptrdiff_t>(count));
    }
    const auto added = pending_.size() - before;
    if (!paired_ && referenceClock_.started()) {
        paired_ = true;
        aligner_.pair(indexAt(pendingTime()));
    }
    std::size_t done = 0;
    // Sound of an earlier block has waited a cycle, in which its reference comes; it waits longer only where
    // the aligner reads the reference ahead.
    const auto young = added + static_cast<std::size_t>(std::max(aligner_.ahead(), 0.0));
    while (pending_.size() - done >= hop) {
        const bool old = done + hop + young <= pending_.size();
        if (!old && !referenceIsHere()) {
            break;
        }
        std::copy_n(pending_.begin() + static_cast<std::ptrdiff_t>(done), hop, error_.begin());
        processHop(out);
        done += hop;
    }
    pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(done));
}

// True where waiting for the reference of the next hop gains nothing: it is there, or is not used, or the
// player seems to be gone.
bool VoiceProcessor::Engine::referenceIsHere() const {
    if (!processing_.cancelEcho || !paired_) {
        return true;
    }
    const double dead = presumedDead + 2 * referenceClock_.longestBlock();
    return microphoneClock_.endTime() - referenceClock_.endTime() > dead ||
           aligner_.position() + aligner_.ahead() + static_cast<double>(hop) <=
               static_cast<double>(track_.end());
}

// `error_` holds the microphone's hop.
void VoiceProcessor::Engine::processHop(std::vector<float>& out) {
    if (processing_.cancelEcho && paired_) {
        // A reference that moved makes the weights those of another delay.
        if (aligner_.run(error_, referenceHop_)) {
            filter_.doubt();
        }
        filter_.run(referenceHop_, error_, error_, echo_);
    }
    float nearness = 1;
    if (processing_.suppressRest) {
        suppressor_.run(error_, echo_, filter_.residualPower(), error_);
        nearness = suppressor_.nearness();
    }
    if (processing_.controlGain) {
        level_.run(error_, nearness);
    }
    for (const float sample : error_) {
        out.push_back(std::clamp(sample, -1.0F, 1.0F));
    }
}

VoiceProcessor::VoiceProcessor(std::unique_ptr<Engine> engine) : engine_(std::move(engine)) {}

VoiceProcessor::~VoiceProcessor() = default;

Result<std::unique_ptr<VoiceProcessor>> VoiceProcessor::make(double microphoneRate,
                                                             VoiceProcessing processing) {
    // The comparison is written so that NaN is refused, too.
    if (!(microphoneRate >= lowestRate && microphoneRate <= highestRate)) {
        return failure(ErrorKind::invalidInput,
                       "no voice processing for a microphone at " + std::to_string(microphoneRate) + " Hz");
    }
    auto microphone = RateConverter::make(microphoneRate, outputRate);
    auto reference = RateConverter::make(referenceRate, outputRate);
    if (!microphone || !reference) {
        return failure(ErrorKind::invalidInput,
                       "no rate conversion for a microphone at " + std::to_string(microphoneRate) + " Hz");
    }
    return std::unique_ptr<VoiceProcessor>(new VoiceProcessor(
        std::make_unique<Engine>(std::move(*microphone), std::move(*reference), microphoneRate, processing)));
}

AudioFormat VoiceProcessor::outputFormat() const {
    return {.commonFormat = CommonFormat::float32,
            .sampleRate = outputRate,
            .channelCount = 1,
            .interleaved = false,
            .channelLayout = std::nullopt};
}

void VoiceProcessor::reference(std::int64_t time, std::span<const float> samples) {
    engine_->reference(time, samples);
}

void VoiceProcessor::process(std::int64_t time, std::span<const float> microphone, std::vector<float>& out) {
    engine_->process(time, microphone, out);
}

}  // namespace tarn
