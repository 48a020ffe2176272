#pragma once

#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {

/// Whether the node's adapter applies the volumes that everybody sees.
bool softVolumesAreUp(const GraphNode& node);

/// Makes it apply `factor` times these volumes. Requires: a Lock.
void turnSoftVolumes(AudioServer& server, const GraphNode& node, float factor);

}  // namespace tarn
