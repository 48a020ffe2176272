#include "Ducker.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <utility>

namespace tarn {
namespace {

constexpr std::chrono::milliseconds tickEvery{20};
constexpr float step = 0.794328F;           // 2 dB a tick: 120 ms down or up
constexpr std::int64_t hold = 500'000'000;  // ns, through the pauses of speech
constexpr std::chrono::milliseconds settleLimit{200};

std::int64_t now() {
    return std::chrono::duration_cast<std::chrono::nanoseconds>(
               std::chrono::steady_clock::now().time_since_epoch())
        .count();
}

}  // namespace

Ducker::Ducker(AudioServer& server, std::function<std::int64_t()> heardAt)
    : server_(server), heardAt_(std::move(heardAt)) {}

Result<void> Ducker::start(const std::string& program) {
    auto keeper = DuckKeeper::make(program);
    if (!keeper) {
        return std::unexpected(keeper.error());
    }
    keeper_ = std::move(*keeper);
    const AudioServer::Lock lock(server_);
    auto following = server_.addObserver(*this);
    if (following) {
        timer_ = server_.startTimer(tickEvery, [this] { tick(); });
    }
    return following;
}

void Ducker::stop() {
    {
        const AudioServer::Lock lock(server_);
        if (timer_ != nullptr) {
            timer_.reset();
            apply(1);
            if (server_.waitUntil([this] { return allUp(); }, settleLimit)) {
                keeper_->allUp();
            }
            server_.removeObserver(*this);
            streams_.clear();
            factor_ = 1;
        }
    }
    keeper_.reset();
}

void Ducker::disconnected() {
    streams_.clear();  // gone with the server, and their volumes with them
    keeper_->allUp();
}

void Ducker::tick() {
    move();
    if (factor_ < 1 || !streams_.empty()) {
        apply(factor_);
    }
    if (factor_ == 1 && !streams_.empty() && allUp()) {
        streams_.clear();
        keeper_->allUp();
    }
}

// The factor moves by a constant number of decibels a tick, which is heard as an even fade.
void Ducker::move() {
    const std::int64_t heard = heardAt_();
    if (heard != 0 && now() - heard < hold) {
        factor_ = std::max(factor_ * step, lowest);
    } else if (factor_ < 1) {
        factor_ = factor_ / step > 0.99F ? 1 : factor_ / step;
    }
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
