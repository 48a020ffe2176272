#include "StandInLinks.h"

#include <algorithm>
#include <set>
#include <vector>

#include "GraphLink.h"
#include "TarnPlatform/base/Log.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds patience{2};

/// Without those that repeat what the node plays, unless it has no others.
std::vector<GraphPort> portsOf(const Graph& graph, GraphId node, bool output) {
    std::vector<GraphPort> ports;
    for (const auto& [id, port] : graph.ports) {
        if (port.node == node && port.output == output) {
            ports.push_back(port);
        }
    }
    if (!std::ranges::all_of(ports, &GraphPort::monitor)) {
        std::erase_if(ports, [](const auto& port) { return port.monitor; });
    }
    return ports;
}

/// The same channels, a single channel with all, and others in their order.
std::set<std::pair<GraphId, GraphId>> pairsOf(const std::vector<GraphPort>& outputs,
                                              const std::vector<GraphPort>& inputs) {
    std::set<std::pair<GraphId, GraphId>> pairs;
    for (const GraphPort& output : outputs) {
        for (const GraphPort& input : inputs) {
            if (output.channel == input.channel || outputs.size() == 1 || inputs.size() == 1) {
                pairs.emplace(output.id, input.id);
            }
        }
    }
    for (std::size_t i = 0; pairs.size() < std::min(outputs.size(), inputs.size()) && i < outputs.size();
         ++i) {
        pairs.emplace(outputs[i].id, inputs[i % inputs.size()].id);
    }
    return pairs;
}

}  // namespace

StandInLinks::StandInLinks(AudioServer& server) : server_(server) {}

StandInLinks::~StandInLinks() = default;

void StandInLinks::drop() {
    links_.clear();
    idleFor_ = {};
}

void StandInLinks::watch(const GraphStream* stream, const GraphNode* device,
                         std::chrono::milliseconds elapsed) {
    const auto own = stream == nullptr ? std::nullopt : stream->nodeId();
    if (!own || device == nullptr) {
        drop();
        return;
    }
    idleFor_ = stream->isStreaming() ? std::chrono::milliseconds(0) : idleFor_ + elapsed;
    // Two seconds are more than a session manager that works ever takes, so its links and ours never stand
    // side by side.
    if (links_.empty() && idleFor_ < patience) {
        return;
    }
    const Graph& graph = server_.graph();
    const bool capture = stream->isCapture();
    const auto ours = portsOf(graph, *own, !capture);
    const auto others = portsOf(graph, device->id, capture);
    const auto pairs = capture ? pairsOf(others, ours) : pairsOf(ours, others);
    if (links_.empty() && !pairs.empty()) {
        logLine("[audio] the session manager (WirePlumber) leaves our sound unconnected; connecting it to " +
                property(device->properties, "node.name"));
    }
    std::erase_if(links_, [&](const auto& link) { return !pairs.contains(link.first); });
    for (const auto& ends : pairs) {
        auto& link = links_[ends];
        if (link == nullptr) {
            link =
                std::make_unique<GraphLink>(capture ? device->id : *own, ends, capture ? *own : device->id);
            link->make(server_);
        }
        link->watch(server_, true, elapsed);
    }
}

}  // namespace tarn
