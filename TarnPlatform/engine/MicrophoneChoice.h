#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "TarnPlatform/audio/AudioFormat.h"
#include "TarnPlatform/audioserver/Graph.h"

namespace tarn {

/// The microphone that is meant: the one of this name, or the desktop's default where none is named. Null
/// where it is not there. Never a sink, whose sound the server offers where there is no microphone.
const GraphNode* microphoneIn(const Graph& graph, const std::optional<std::string>& chosen);

/// How a microphone is captured: as it is, without conversion.
struct MicrophoneFormat {
    std::uint32_t rate = 0;             ///< Hz
    std::vector<std::string> channels;  ///< in the server's names

    static MicrophoneFormat of(const Graph& graph, const GraphNode& microphone);

    /// As delivered: Float32, planar. Nothing is known: 0 Hz and 0 channels.
    AudioFormat delivered() const;
};

}  // namespace tarn
