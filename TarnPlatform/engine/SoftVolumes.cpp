#include "SoftVolumes.h"

#include <algorithm>
#include <cmath>

namespace tarn {

bool softVolumesAreUp(const GraphNode& node) {
    return node.softVolumes.empty() ||
           std::ranges::equal(node.softVolumes, node.volumes,
                              [](float soft, float volume) { return std::abs(soft - volume) < 1e-4F; });
}

void turnSoftVolumes(AudioServer& server, const GraphNode& node, float factor) {
    server.setVolumeFactor(node.id, factor);
}

}  // namespace tarn
