#include "Graph.h"

#include <algorithm>
#include <charconv>
#include <cmath>

namespace tarn {

namespace {

const std::string nothing;

}  // namespace

const std::string& property(const Properties& properties, std::string_view key) {
    const auto found = properties.find(key);
    return found == properties.end() ? nothing : found->second;
}

std::uint64_t serialOf(const Properties& properties) {
    const std::string& text = property(properties, "object.serial");
    std::uint64_t serial = 0;
    std::from_chars(text.data(), text.data() + text.size(), serial);
    return serial;
}

const std::string& property(const Graph& graph, const GraphNode& node, std::string_view key) {
    const std::string& own = property(node.properties, key);
    if (!own.empty()) {
        return own;
    }
    const GraphClient* client = graph.clientOf(node);
    return client == nullptr ? nothing : property(client->properties, key);
}

const std::string& GraphNode::mediaClass() const {
    return property(properties, "media.class");
}

float GraphNode::turnedDownTo() const {
    if (askedFactor >= 1 || softVolumes.size() != volumes.size()) {
        return 1;
    }
    float told = askedFactor;
    for (std::size_t i = 0; i < volumes.size(); ++i) {
        told = std::max(told, volumes[i] > 0 ? softVolumes[i] / volumes[i] : 0.0F);
    }
    return std::min(told, 1.0F);
}

bool GraphNode::appliesItsVolumes() const {
    return softVolumes.empty() || std::ranges::equal(softVolumes, volumes, [](float soft, float volume) {
               return std::abs(soft - volume) < 1e-4F;
           });
}

bool GraphNode::isOutputStream() const {
    return mediaClass() == "Stream/Output/Audio";
}

bool GraphNode::isSink() const {
    return mediaClass().starts_with("Audio/Sink") || mediaClass() == "Audio/Duplex";
}

bool GraphNode::isSource() const {
    return mediaClass().starts_with("Audio/Source") || mediaClass() == "Audio/Duplex";
}

const GraphNode* Graph::nodeNamed(std::string_view name) const {
    const auto found = std::ranges::find_if(
        nodes, [&](const auto& entry) { return property(entry.second.properties, "node.name") == name; });
    return found == nodes.end() ? nullptr : &found->second;
}

const GraphNode* Graph::defaultOutput() const {
    const GraphNode* node = defaultSink ? nodeNamed(*defaultSink) : nullptr;
    return node != nullptr && node->isSink() ? node : nullptr;
}

const GraphClient* Graph::clientOf(const GraphNode& node) const {
    const std::string& text = property(node.properties, "client.id");
    GraphId id = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), id);
    if (error != std::errc() || end != text.data() + text.size()) {
        return nullptr;
    }
    const auto found = clients.find(id);
    return found == clients.end() ? nullptr : &found->second;
}

bool repeatsAnOutput(const Graph& graph, const GraphNode& stream) {
    const std::string& group = property(stream.properties, "node.link-group");
    return !group.empty() && std::ranges::any_of(graph.nodes, [&](const auto& entry) {
        const GraphNode& other = entry.second;
        return other.id != stream.id && property(other.properties, "node.link-group") == group &&
               (other.isSink() || property(other.properties, "stream.capture.sink") == "true");
    });
}

std::vector<std::string> sourceChannels(const Graph& graph, const GraphNode& node) {
    if (!node.deviceChannels.empty()) {
        return node.deviceChannels;
    }
    if (!node.channels.empty()) {
        return node.channels;
    }
    std::vector<std::string> names;
    for (const auto& [id, port] : graph.ports) {
        if (port.node == node.id && port.output && !port.monitor) {
            names.push_back(port.channel);
        }
    }
    return names;
}

}  // namespace tarn
