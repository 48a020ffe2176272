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
                       std::function<void(SoundFaults)> changed)
    : server_(server), microphone_(std::move(microphone)), changed_(std::move(changed)) {
    const AudioServer::Lock lock(server_);
    if (!server_.addObserver(*this)) {
        tell({SoundFault::serverGone});
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
    tell({SoundFault::serverGone});
}

void SoundWatch::graphChanged(const Graph& graph) {
    tell(faultsOf(graph));
}

SoundFaults SoundWatch::faultsOf(const Graph& graph) const {
    SoundFaults faults;
    if (!graph.isManaged) {
        faults.insert(SoundFault::managerGone);
    }
    if (microphone_ && microphoneIn(graph, microphone_->chosen) == nullptr) {
        faults.insert(SoundFault::microphoneGone);
    }
    if (!hasOutput(graph)) {
        faults.insert(SoundFault::outputGone);
    }
    return faults;
}

void SoundWatch::tell(SoundFaults faults) {
    if (faults != told_) {
        told_ = faults;
        changed_(std::move(faults));
    }
}

}  // namespace tarn
