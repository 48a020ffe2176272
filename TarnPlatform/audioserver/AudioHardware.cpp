#include "AudioHardware.h"

#include <algorithm>

#include "AudioServer.h"
#include "Graph.h"

namespace tarn {
namespace {

std::optional<std::string> firstOf(const Properties& properties, std::initializer_list<const char*> keys) {
    for (const char* key : keys) {
        if (const std::string& text = property(properties, key); !text.empty()) {
            return text;
        }
    }
    return std::nullopt;
}

std::optional<std::uint32_t> inputChannels(const Graph& graph, const GraphNode& node) {
    if (!node.isSource()) {
        return 0;
    }
    const std::vector<std::string> channels = sourceChannels(graph, node);
    return channels.empty() ? std::nullopt : std::optional(static_cast<std::uint32_t>(channels.size()));
}

class GraphHardware : public AudioHardware {
public:
    Result<HardwareList> read() override {
        const auto graph = AudioServer::shared().snapshot();
        if (!graph) {
            return std::unexpected(graph.error());
        }
        HardwareList list;
        for (const auto& [id, node] : graph->nodes) {
            if (node.isSource() || node.isSink()) {
                list.devices.push_back(
                    {.id = id,
                     .name = firstOf(node.properties, {"node.description", "node.nick", "node.name"}),
                     .uid = firstOf(node.properties, {"node.name"}),
                     .inputChannels = inputChannels(*graph, node)});
            }
        }
        // Where there is no microphone the server names a sink, whose sound it would give instead.
        const GraphNode* input = graph->defaultSource ? graph->nodeNamed(*graph->defaultSource) : nullptr;
        if (input != nullptr && input->isSource()) {
            list.defaultInput = input->id;
        }
        return list;
    }
};

}  // namespace

AudioHardware& AudioHardware::system() {
    static GraphHardware hardware;
    return hardware;
}

}  // namespace tarn
