#pragma once

#include <spa/pod/pod.h>

#include <cstdint>
#include <string>
#include <vector>

namespace tarn {

/// A list of SPA_AUDIO_CHANNEL_* in the server's short names ("FL", …).
std::vector<std::string> channelNames(const std::vector<std::uint32_t>& channels);

/// What a node's "Props" parameter says of channels and volumes. Lists that it does not hold stay as they
/// are.
void readNodeProps(const spa_pod& props, std::vector<std::string>& channels, std::vector<float>& volumes);

}  // namespace tarn
