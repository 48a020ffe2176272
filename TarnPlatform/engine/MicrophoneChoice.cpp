#include "MicrophoneChoice.h"

#include "TarnPlatform/audio/PcmBuffer.h"

namespace tarn {
namespace {

// Of a microphone that leaves the rate to the graph, such as a virtual one.
constexpr std::uint32_t usualRate = 48000;

}  // namespace

const GraphNode* microphoneIn(const Graph& graph, const std::optional<std::string>& chosen) {
    const auto& name = chosen ? chosen : graph.defaultSource;
    const GraphNode* node = name ? graph.nodeNamed(*name) : nullptr;
    return node != nullptr && node->isSource() ? node : nullptr;
}

MicrophoneFormat MicrophoneFormat::of(const Graph& graph, const GraphNode& microphone) {
    MicrophoneFormat format{.rate = microphone.deviceRate == 0 ? usualRate : microphone.deviceRate,
                            .channels = sourceChannels(graph, microphone)};
    if (format.channels.empty() || format.channels.size() > PcmBuffer::mostChannels) {
        return {};
    }
    return format;
}

AudioFormat MicrophoneFormat::delivered() const {
    return {CommonFormat::float32, static_cast<double>(rate), static_cast<std::uint32_t>(channels.size()),
            false, std::nullopt};
}

}  // namespace tarn
