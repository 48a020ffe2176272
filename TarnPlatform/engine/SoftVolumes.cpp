#include "SoftVolumes.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace tarn {

bool softVolumesAreUp(const GraphNode& node) {
    return node.softVolumes.empty() ||
           std::ranges::equal(node.softVolumes, node.volumes,
                              [](float soft, float volume) { return std::abs(soft - volume) < 1e-4F; });
}

void turnSoftVolumes(AudioServer& server, const GraphNode& node, float factor) {
    std::vector<float> factors = node.volumes;
    for (float& value : factors) {
        value *= factor;
    }
    server.setSoftVolumes(node.id, factors);
}

}  // namespace tarn
