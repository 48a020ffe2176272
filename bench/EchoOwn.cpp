#include <algorithm>
#include <cmath>
#include <random>

#include "EchoCandidates.h"
#include "TarnPlatform/audio/RateConverter.h"
#include "TarnPlatform/voice/VoiceProcessor.h"

namespace tarn::bench {
namespace {

constexpr double sceneRate = 16000;
constexpr double microphoneRate = 48000;
constexpr std::size_t microphoneBlock = 1024;
constexpr std::size_t referenceBlock = 512;

std::vector<float> converted(std::span<const float> samples, double rate) {
    auto converter = RateConverter::make(sceneRate, rate).value();
    converter.write(samples);
    std::vector<float> out(static_cast<std::size_t>(static_cast<double>(samples.size()) * rate / sceneRate) +
                           1024);
    out.resize(converter.read(out));
    return out;
}

// As a session has it: the microphone at 48 kHz, the reference at 24 kHz, a block of both in every cycle.
Processed process(const EchoScene& scene, VoiceProcessing processing) {
    const auto microphone = converted(scene.microphone, microphoneRate);
    // The reference's own clock: more or fewer of its samples in a second.
    const double clock = 1 + scene.clockPpm * 1e-6;
    const auto reference = converted(scene.reference, VoiceProcessor::referenceRate * clock);
    auto processor = VoiceProcessor::make(microphoneRate, processing).value();
    std::mt19937 engine(3);
    std::uniform_real_distribution<double> jitter(-scene.jitterBlocks, scene.jitterBlocks);
    Processed result;
    result.samples.reserve(scene.microphone.size() + 4096);
    const double begin = processorSeconds();
    std::size_t sent = 0;
    for (std::size_t at = 0; at + microphoneBlock <= microphone.size(); at += microphoneBlock) {
        const double time = 1000 + static_cast<double>(at) / microphoneRate;
        const double played = static_cast<double>(sent) / (VoiceProcessor::referenceRate * clock);
        if (played <= time - 1000 && sent + referenceBlock <= reference.size()) {
            if (played < scene.gapFrom || played >= scene.gapTo) {
                const double length = static_cast<double>(referenceBlock) / VoiceProcessor::referenceRate;
                processor->reference(std::llround((1000 + played + jitter(engine) * length) * 1e9),
                                     std::span(reference).subspan(sent, referenceBlock));
            }
            sent += referenceBlock;
        }
        processor->process(std::llround(time * 1e9), std::span(microphone).subspan(at, microphoneBlock),
                           result.samples);
    }
    result.seconds = processorSeconds() - begin;
    result.samples.resize(scene.microphone.size());
    return result;
}

EchoCandidate candidate(std::string name, VoiceProcessing processing) {
    return {std::move(name), [processing](const EchoScene& scene) { return process(scene, processing); }};
}

}  // namespace

std::vector<EchoCandidate> ownCandidates() {
    return {
        candidate("ours, filter alone", {.suppressRest = false, .controlGain = false}),
        candidate("ours, without gain", {.controlGain = false}),
        candidate("ours, whole", {}),
    };
}

}  // namespace tarn::bench
