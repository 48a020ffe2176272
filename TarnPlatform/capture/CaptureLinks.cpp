#include "CaptureLinks.h"

#include <algorithm>
#include <string>

#include "CaptureRoutes.h"
#include "TarnPlatform/audioserver/GraphLink.h"

namespace tarn {

CaptureLinks::CaptureLinks(AudioServer& server, Choose chosen)
    : server_(server), chosen_(std::move(chosen)) {}

CaptureLinks::~CaptureLinks() = default;

std::map<CaptureLinks::Ends, GraphId> CaptureLinks::wanted(const Graph& graph) const {
    // The ports are gathered by program first, because which of them are taken depends on what else the
    // program has.
    std::map<GraphId, std::vector<GraphPort>> outputs;
    for (const auto& [id, port] : graph.ports) {
        if (port.output && !port.monitor) {
            outputs[port.node].push_back(port);
        }
    }
    std::map<Ends, GraphId> ends;
    for (const auto& [id, ports] : outputs) {
        const auto node = graph.nodes.find(id);
        if (node == graph.nodes.end() || !chosen_(graph, node->second)) {
            continue;
        }
        for (const auto& [port, channel] : captureRoutes(node->second, ports)) {
            if (const auto input = inputs_.find(channel); input != inputs_.end()) {
                ends[{port, input->second}] = id;
            }
        }
    }
    return ends;
}

void CaptureLinks::update(const Graph& graph, GraphId own) {
    own_ = own;
    inputs_.clear();
    for (const auto& [id, port] : graph.ports) {
        if (port.node == own && !port.output && !port.monitor) {
            inputs_[port.channel] = id;
        }
    }
    const auto ends = wanted(graph);
    // Links that are still wanted stay as they are: making one anew would leave a gap in the sound.
    std::erase_if(links_, [&](const auto& link) { return !ends.contains(link.first); });
    for (const auto& [pair, program] : ends) {
        auto& link = links_[pair];
        if (link == nullptr) {
            link = std::make_unique<GraphLink>(program, pair, own_);
            link->make(server_);
        }
    }
}

float CaptureLinks::gain(const Graph& graph) const {
    // A program that our ducking turned down reaches the capture turned down too, so the sum is turned up
    // again by as much as its loudest part was turned down. Ducking takes 20 dB away at most.
    constexpr float most = 10;
    float loudest = 0;
    for (const auto& [ends, link] : links_) {
        const auto program = graph.nodes.find(link->outputNode());
        if (program != graph.nodes.end() && program->second.running) {
            loudest = std::max(loudest, program->second.turnedDownTo());
        }
    }
    return loudest > 0 ? std::clamp(1 / loudest, 1.0F, most) : 1;
}

void CaptureLinks::watch(const Graph& graph, bool streaming, std::chrono::milliseconds elapsed) {
    for (const auto& [ends, link] : links_) {
        const auto program = graph.nodes.find(link->outputNode());
        link->watch(server_, streaming && program != graph.nodes.end() && program->second.running, elapsed);
    }
}

}  // namespace tarn
