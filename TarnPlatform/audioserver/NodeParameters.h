#pragma once

#include <spa/pod/pod.h>

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "Graph.h"

namespace tarn {

/// A list of SPA_AUDIO_CHANNEL_* in the server's short names ("FL", …).
std::vector<std::string> channelNames(const std::vector<std::uint32_t>& channels);

/// SPA_AUDIO_CHANNEL_* of such a name; unknown where the server has none.
std::uint32_t channelNumber(std::string_view name);

/// What a node's "Props" parameter says of channels and volumes. Lists that it does not hold stay as they
/// are.
void readNodeProps(const spa_pod& props, GraphNode& node);

/// A "Props" parameter that sets the factors which the node's adapter applies, and nothing else. It lies in
/// `memory`. Requires: at most 64 factors.
const spa_pod* softVolumeProps(std::span<const float> volumes, std::span<std::byte, 1024> memory);

/// What its "Format" or "EnumFormat" parameter says of the device's rate and channels. Where there is a
/// choice, the default; of several formats the one told last.
void readNodeFormat(const spa_pod& format, GraphNode& node);

}  // namespace tarn
