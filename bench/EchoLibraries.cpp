#include <speex/speex_echo.h>
#include <speex/speex_preprocess.h>
#include <time.h>
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wunused-parameter"
#include <webrtc/modules/audio_processing/include/audio_processing.h>
#pragma GCC diagnostic pop

#include <algorithm>
#include <cmath>
#include <memory>

#include "EchoCandidates.h"

namespace tarn::bench {
namespace {

constexpr int rate = 16000;
constexpr std::size_t frame = 160;

using Stage = std::function<void(std::span<const float> reference, std::span<float> microphone)>;

Processed run(const EchoScene& scene, const Stage& stage) {
    Processed result{scene.microphone, 0};
    const double begin = processorSeconds();
    for (std::size_t at = 0; at + frame <= result.samples.size(); at += frame) {
        stage(std::span(scene.reference).subspan(at, frame), std::span(result.samples).subspan(at, frame));
    }
    result.seconds = processorSeconds() - begin;
    return result;
}

struct WebrtcSettings {
    bool echo = true;
    webrtc::EchoCancellation::SuppressionLevel level = webrtc::EchoCancellation::kLowSuppression;
    bool delayAgnostic = false;
    bool noise = false;
    bool gain = false;
};

Stage webrtcStage(const WebrtcSettings& settings) {
    webrtc::Config config;
    config.Set<webrtc::ExtendedFilter>(new webrtc::ExtendedFilter(true));
    config.Set<webrtc::DelayAgnostic>(new webrtc::DelayAgnostic(settings.delayAgnostic));
    std::shared_ptr<webrtc::AudioProcessing> processing(webrtc::AudioProcessing::Create(config));
    processing->high_pass_filter()->Enable(true);
    processing->echo_cancellation()->enable_drift_compensation(false);
    processing->echo_cancellation()->set_suppression_level(settings.level);
    processing->echo_cancellation()->Enable(settings.echo);
    processing->noise_suppression()->set_level(webrtc::NoiseSuppression::kLow);
    processing->noise_suppression()->Enable(settings.noise);
    processing->gain_control()->set_mode(webrtc::GainControl::kAdaptiveDigital);
    processing->gain_control()->set_target_level_dbfs(6);
    processing->gain_control()->set_compression_gain_db(18);
    processing->gain_control()->Enable(settings.gain);
    return [processing](std::span<const float> reference, std::span<float> microphone) {
        const webrtc::StreamConfig config16k(rate, 1, false);
        float far[frame];
        float farOut[frame];
        float near[frame];
        std::ranges::copy(reference, far);
        std::ranges::copy(microphone, near);
        const float* in = far;
        float* out = farOut;
        processing->ProcessReverseStream(const_cast<float**>(&in), config16k, config16k, &out);
        processing->set_stream_delay_ms(40);
        const float* nearIn = near;
        float* nearOut = microphone.data();
        processing->ProcessStream(&nearIn, config16k, config16k, &nearOut);
    };
}

struct SpeexSettings {
    int tailMs = 128;
    bool preprocess = false;
    int suppress = -40;        // dB, with nobody near
    int suppressActive = -15;  // dB, with somebody near
    bool noise = false;
};

Stage speexStage(const SpeexSettings& settings) {
    std::shared_ptr<SpeexEchoState> echo(
        speex_echo_state_init(static_cast<int>(frame), rate * settings.tailMs / 1000),
        speex_echo_state_destroy);
    int value = rate;
    speex_echo_ctl(echo.get(), SPEEX_ECHO_SET_SAMPLING_RATE, &value);
    std::shared_ptr<SpeexPreprocessState> after;
    if (settings.preprocess) {
        after.reset(speex_preprocess_state_init(static_cast<int>(frame), rate),
                    speex_preprocess_state_destroy);
        speex_preprocess_ctl(after.get(), SPEEX_PREPROCESS_SET_ECHO_STATE, echo.get());
        value = settings.suppress;
        speex_preprocess_ctl(after.get(), SPEEX_PREPROCESS_SET_ECHO_SUPPRESS, &value);
        value = settings.suppressActive;
        speex_preprocess_ctl(after.get(), SPEEX_PREPROCESS_SET_ECHO_SUPPRESS_ACTIVE, &value);
        value = settings.noise ? 1 : 0;
        speex_preprocess_ctl(after.get(), SPEEX_PREPROCESS_SET_DENOISE, &value);
        value = -10;
        speex_preprocess_ctl(after.get(), SPEEX_PREPROCESS_SET_NOISE_SUPPRESS, &value);
    }
    return [echo, after](std::span<const float> reference, std::span<float> microphone) {
        spx_int16_t far[frame];
        spx_int16_t near[frame];
        spx_int16_t out[frame];
        const auto toInt = [](float x) {
            return static_cast<spx_int16_t>(std::lround(std::clamp(x, -1.0F, 1.0F) * 32767));
        };
        std::ranges::transform(reference, far, toInt);
        std::ranges::transform(microphone, near, toInt);
        speex_echo_cancellation(echo.get(), near, far, out);
        if (after) {
            speex_preprocess_run(after.get(), out);
        }
        std::ranges::transform(out, microphone.begin(),
                               [](spx_int16_t x) { return static_cast<float>(x) / 32767; });
    };
}

EchoCandidate candidate(std::string name, std::function<Stage()> make) {
    return {std::move(name), [make = std::move(make)](const EchoScene& scene) { return run(scene, make()); }};
}

EchoCandidate webrtcCandidate(std::string name, const WebrtcSettings& settings) {
    return candidate(std::move(name), [settings] { return webrtcStage(settings); });
}

EchoCandidate speexCandidate(std::string name, const SpeexSettings& settings) {
    return candidate(std::move(name), [settings] { return speexStage(settings); });
}

Stage joined(Stage first, Stage second) {
    return [first = std::move(first), second = std::move(second)](std::span<const float> reference,
                                                                  std::span<float> microphone) {
        first(reference, microphone);
        second(reference, microphone);
    };
}

}  // namespace

double processorSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

std::vector<EchoCandidate> libraryCandidates() {
    using Echo = webrtc::EchoCancellation;
    std::vector<EchoCandidate> all;
    all.push_back({"nothing", [](const EchoScene& scene) { return Processed{scene.microphone, 0}; }});
    all.push_back(webrtcCandidate("webrtc low", {.level = Echo::kLowSuppression}));
    all.push_back(webrtcCandidate("webrtc moderate", {.level = Echo::kModerateSuppression}));
    all.push_back(webrtcCandidate("webrtc high", {.level = Echo::kHighSuppression}));
    all.push_back(
        webrtcCandidate("webrtc low, agnostic", {.level = Echo::kLowSuppression, .delayAgnostic = true}));
    all.push_back(webrtcCandidate("webrtc mod., agnostic",
                                  {.level = Echo::kModerateSuppression, .delayAgnostic = true}));
    all.push_back(webrtcCandidate("webrtc noise only", {.echo = false, .noise = true}));
    all.push_back(webrtcCandidate("webrtc gain only", {.echo = false, .gain = true}));
    for (const int tail : {64, 128, 256, 500}) {
        all.push_back(speexCandidate("speex " + std::to_string(tail) + " ms", {.tailMs = tail}));
    }
    all.push_back(speexCandidate("speex 256, residual", {.tailMs = 256, .preprocess = true}));
    all.push_back(
        speexCandidate("speex 256, residual -6", {.tailMs = 256, .preprocess = true, .suppressActive = -6}));
    all.push_back(speexCandidate("speex 256, res., noise",
                                 {.tailMs = 256, .preprocess = true, .suppressActive = -6, .noise = true}));
    all.push_back(candidate("speex 256 + webrtc low", [] {
        return joined(speexStage({.tailMs = 256}), webrtcStage({.level = Echo::kLowSuppression}));
    }));
    return all;
}

}  // namespace tarn::bench
