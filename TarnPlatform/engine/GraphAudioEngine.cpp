#include "GraphAudioEngine.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace tarn {
namespace {

// Of one engine's streams, among all programs.
std::string freshGroup() {
    static std::atomic<int> engines{0};
    return "tarn-" + AudioServer::instanceTag() + "-" + std::to_string(++engines);
}

}  // namespace

GraphAudioEngine::GraphAudioEngine(AudioServer& server, Options options)
    : server_(server), options_(std::move(options)), input_(server) {}

GraphAudioEngine::~GraphAudioEngine() {
    stop();
}

void GraphAudioEngine::attach(std::shared_ptr<AudioNode> node) {
    nodes_.push_back(std::move(node));
}

void GraphAudioEngine::connect(AudioNode& from, AudioNode& to, const AudioFormat& format) {
    mixed_ = mixed_ && (format_.sampleRate == 0 || format_ == format) && format.channelCount == 1 &&
             format.commonFormat == CommonFormat::float32;
    format_ = format;
    prepared_ = false;
    if (&to == &mixer_) {
        mixer_.addSource(&from);
    } else {
        to.setSource(&from);
    }
}

void GraphAudioEngine::turnOthersDown(double decibels) {
    const double down = decibels <= 0 ? std::max(decibels, -20.0) : 0;  // NaN gives 0
    toldOfOthers_ = true;
    voice_->turnOthersDownTo(static_cast<float>(std::pow(10, down / 20)));
}

void GraphAudioEngine::prepare() {
    mixer_.prepare(PlaybackStream::mostFrames);
    prepared_ = true;
}

Result<void> GraphAudioEngine::start() {
    if (running_) {
        return {};
    }
    if (!mixed_ || format_.sampleRate < 0) {
        return failure(ErrorKind::invalidInput, "the nodes are connected in formats that do not go together");
    }
    if (!prepared_) {
        prepare();
    }
    // With voice processing all streams run in the same cycles, so that what was played and what was heard
    // of it stay together whatever the clocks of the devices do.
    const bool processed = input_.hasTap() && input_.hasVoiceProcessing();
    const std::string group = processed ? freshGroup() : std::string();
    auto started = processed ? startMonitoring(group) : Result<void>();
    if (started && (processed || !input_.hasTap())) {
        startDucking(processed);
    }
    if (started) {
        started = startPlaying(group);
    }
    if (started) {
        started = input_.start(group, reference_);
    }
    if (!started) {
        stop();
        return started;
    }
    running_ = true;
    return {};
}

Result<void> GraphAudioEngine::startMonitoring(const std::string& group) {
    constexpr auto rate = static_cast<std::uint32_t>(VoiceProcessor::referenceRate);
    reference_ = std::make_shared<EchoReference>(rate);
    monitor_ = std::make_unique<OutputMonitor>(server_, rate, reference_);
    return monitor_->start(group);
}

Result<void> GraphAudioEngine::startPlaying(const std::string& group) {
    if (format_.sampleRate == 0) {
        return {};
    }
    playback_ = std::make_unique<PlaybackStream>(
        server_, mixer_, place_, static_cast<std::uint32_t>(format_.sampleRate), reference_, voice_);
    return playback_->start(group);
}

void GraphAudioEngine::startDucking(bool processed) {
    if (processed && !toldOfOthers_) {
        voice_->turnOthersDownTo(0.25F);
    }
    ducker_ = Ducker::of(server_, options_.volumeKeeper);
    if (!ducker_->add(voice_)) {
        ducker_.reset();  // there is no audio server, as starting to play will say
    }
}

void GraphAudioEngine::stop() {
    const bool playing = playback_ != nullptr;
    if (playing) {
        playback_->stop();
        playback_.reset();
    }
    if (ducker_ != nullptr) {
        ducker_->remove(*voice_);
        ducker_.reset();
    }
    if (monitor_ != nullptr) {
        monitor_->stop();
        monitor_.reset();
    }
    if (playing && reference_ != nullptr) {
        // The microphone's stream must hear that its companions have gone before it goes itself: libpipewire
        // 0.3.65 otherwise keeps the descriptors that they waked one another with, for each run.
        static_cast<void>(server_.snapshot());
    }
    input_.stop();
    reference_.reset();
    running_ = false;
}

std::unique_ptr<AudioEngine> AudioEngine::make() {
    return make(Options());
}

std::unique_ptr<AudioEngine> AudioEngine::make(Options options) {
    return std::make_unique<GraphAudioEngine>(AudioServer::shared(), std::move(options));
}

}  // namespace tarn
