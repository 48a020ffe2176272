#include "SoundWatch.h"

#include <algorithm>
#include <chrono>
#include <string_view>
#include <utility>

#include "MicrophoneChoice.h"

namespace tarn {
namespace {

/// What the desktop puts in the place of outputs where there is none.
constexpr std::string_view noOutput = "auto_null";
constexpr std::chrono::milliseconds retryEvery{500};

bool hasOutput(const Graph& graph) {
    return std::ranges::any_of(graph.nodes, [](const auto& entry) {
        return entry.second.isSink() && property(entry.second.properties, "node.name") != noOutput;
    });
}

}  // namespace

SoundWatch::SoundWatch(AudioServer& server, std::optional<Microphone> microphone,
                       std::function<void(const MissingSound&)> changed)
    : server_(server), microphone_(std::move(microphone)), changed_(std::move(changed)) {
    const AudioServer::Lock lock(server_);
    if (!server_.addObserver(*this)) {
        tell({.server = true});
        retry_ = server_.startTimer(retryEvery, [this] {
            if (server_.addObserver(*this)) {
                retry_.reset();
            }
        });
        return;
    }
    if (microphone_ && !microphoneIn(server_.graph(), microphone_->chosen)) {
        microphone_->chosen.reset();
    }
    graphChanged(server_.graph());
}

SoundWatch::~SoundWatch() {
    const AudioServer::Lock lock(server_);
    retry_.reset();
    server_.removeObserver(*this);
}

void SoundWatch::disconnected() {
    tell({.server = true});
}

void SoundWatch::graphChanged(const Graph& graph) {
    tell(missingIn(graph));
}

MissingSound SoundWatch::missingIn(const Graph& graph) const {
    return {.manager = !graph.isManaged,
            .microphone = microphone_ && microphoneIn(graph, microphone_->chosen) == nullptr,
            .output = !hasOutput(graph)};
}

void SoundWatch::tell(const MissingSound& missing) {
    if (missing != told_) {
        told_ = missing;
        changed_(missing);
    }
}

}  // namespace tarn
