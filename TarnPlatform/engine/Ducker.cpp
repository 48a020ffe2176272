#include "Ducker.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <mutex>
#include <utility>

#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::milliseconds tickEvery{20};
constexpr float step = 0.794328F;           // 2 dB a tick: 12 dB in 120 ms
constexpr std::int64_t hold = 500'000'000;  // ns, through the pauses of speech
constexpr std::int64_t newWord = hold / 2;  // ns of silence after which the loop is waked
constexpr std::chrono::milliseconds settleLimit{200};

std::int64_t now() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

bool isSpeaking(const DuckingVoice& voice) {
    return voice.heardAt() != 0 && now() - voice.heardAt() < hold;
}

}  // namespace

void DuckingVoice::heardRt(std::int64_t time) noexcept {
    const std::int64_t before = heardAt_.exchange(time, std::memory_order_relaxed);
    if (bell_ != nullptr && time - before > newWord) {
        bell_->ringRt();
    }
}

std::shared_ptr<Ducker> Ducker::of(AudioServer& server, const std::string& keeper) {
    static std::mutex mutex;
    static std::map<AudioServer*, std::weak_ptr<Ducker>> duckers;
    const std::lock_guard lock(mutex);
    auto ducker = duckers[&server].lock();
    if (ducker == nullptr) {
        duckers[&server] = ducker = std::make_shared<Ducker>(server, keeper);
    }
    return ducker;
}

Result<void> Ducker::add(std::shared_ptr<DuckingVoice> voice) {
    const AudioServer::Lock lock(server_);
    if (voices_.empty() && bell_ == nullptr) {
        if (auto following = server_.addObserver(*this); !following) {
            return following;
        }
        bell_ = server_.makeBell([this] {
            if (timer_ == nullptr) {
                timer_ = server_.startTimer(tickEvery, [this] { tick(); });
            }
        });
    }
    voice->bell_ = bell_.get();
    voices_.push_back(std::move(voice));
    return {};
}

void Ducker::remove(DuckingVoice& voice) {
    std::unique_ptr<DuckKeeper> keeper;
    const AudioServer::Lock lock(server_);
    voice.bell_ = nullptr;
    std::erase_if(voices_, [&](const auto& one) { return one.get() == &voice; });
    if (!voices_.empty() || bell_ == nullptr) {
        return;
    }
    timer_.reset();
    factor_ = 1;
    if (!streams_.empty()) {
        apply(1);
        if (server_.waitUntil([this] { return allUp(); }, settleLimit)) {
            keeper_->allUp();
        }
    }
    if (voices_.empty()) {  // nobody came meanwhile
        server_.removeObserver(*this);
        bell_.reset();
        streams_.clear();
        keeper = std::move(keeper_);  // it ends without the lock, since it may have to turn up what is left
    }
}

void Ducker::disconnected() {
    streams_.clear();  // gone with the server, and their volumes with them
    if (keeper_ != nullptr) {
        keeper_->allUp();
    }
}

void Ducker::tick() {
    const bool speaking = move();
    if (factor_ < 1 || !streams_.empty()) {
        apply(factor_);
    }
    if (factor_ == 1 && !streams_.empty() && allUp()) {
        streams_.clear();
        keeper_->allUp();
    }
    if (factor_ == 1 && streams_.empty() && !speaking) {
        timer_.reset();
    }
}

// The factor moves by a constant number of decibels a tick, which is heard as an even fade.
bool Ducker::move() {
    bool speaking = false;
    float target = 1;
    for (const auto& voice : voices_) {
        if (isSpeaking(*voice)) {
            speaking = true;
            target = std::min(target, std::max(voice->factor(), lowest));
        }
    }
    if (target < 1 && !hasKeeper()) {
        target = 1;
    }
    if (factor_ > target) {
        factor_ = std::max(factor_ * step, target);
    } else if (factor_ < target) {
        factor_ = factor_ / step > 0.99F * target ? target : factor_ / step;
    }
    return speaking;
}

bool Ducker::hasKeeper() {
    if (keeper_ == nullptr && !keeperFailed_) {
        if (auto keeper = DuckKeeper::make(program_)) {
            keeper_ = std::move(*keeper);
        } else {
            keeperFailed_ = true;
            logLine("[dub] other programs are not turned down: " + keeper.error().description);
        }
    }
    return keeper_ != nullptr;
}
void Ducker::apply(float factor) {
    const Graph& graph = server_.graph();
    for (const auto& [id, node] : graph.nodes) {
        // A stream that repeats an output carries our own voice too, which must stay as loud as it is.
        if (node.isOutputStream() && !node.volumes.empty() && !AudioServer::isOwn(graph, node) &&
            !repeatsAnOutput(graph, node)) {
            applyTo(property(node.properties, "object.serial"), node, factor);
        }
    }
    std::erase_if(streams_, [&](const auto& entry) { return !graph.nodes.contains(entry.second.id); });
}

void Ducker::applyTo(const std::string& serial, const GraphNode& node, float factor) {
    auto found = streams_.find(serial);
    if (found == streams_.end()) {
        // A stream whose factors another program has set already belongs to that program.
        if (factor == 1 || !node.appliesItsVolumes() || !keeper_->down(serial)) {
            return;
        }
        found = streams_.emplace(serial, Stream{.id = node.id, .volumes = node.volumes}).first;
    }
    Stream& stream = found->second;
    // Somebody has moved the volume that mixers show. Their wish goes before ours, until the next time.
    if (stream.volumes != node.volumes) {
        stream.leftAlone = true;
        stream.volumes = node.volumes;
    }
    if (stream.leftAlone) {
        // The server applied the new volumes in the place of ours, unless our request crossed the change.
        if (!node.appliesItsVolumes()) {
            server_.setVolumeFactor(node.id, 1);
        }
    } else if (stream.applied != factor || (factor == 1 && !node.appliesItsVolumes())) {
        server_.setVolumeFactor(node.id, factor);
        stream.applied = factor;
    }
}

bool Ducker::allUp() const {
    const Graph& graph = server_.graph();
    return std::ranges::all_of(streams_, [&](const auto& entry) {
        const auto found = graph.nodes.find(entry.second.id);
        return found == graph.nodes.end() || found->second.appliesItsVolumes();
    });
}

}  // namespace tarn
