#pragma once

#include <string_view>
#include <vector>

#include "TarnPlatform/audioserver/Graph.h"

namespace tarn {

/// One output port of a program, and the channel of the capture that is to hear it.
struct CaptureRoute {
    GraphId port = 0;
    std::string_view channel;  ///< of CaptureFold's: "FL", "FR", "FC", "LFE", "RL", "RR"

    bool operator==(const CaptureRoute&) const = default;
};

/// Where a capture links the ports of a playing program, so that after CaptureFold it has the level of what
/// the program plays, whatever it plays to.
///
/// The server's adapter gives the program's ports the layout of its sink: it folds what the sink has no
/// channel for, and fills the sink's further channels from the front. The folded ones are wanted, the filled
/// ones would be heard twice: of each group of channels (front, centre, low, surround) the program's own are
/// taken where the ports have them all, and else all that the ports have. A single port that carries the sum
/// of several channels, which the server makes 3 dB louder than their mean, goes where it comes out 3 dB
/// down. One channel alone is as loud as it is, in both. Channels without a position (AUX0, …) go left and
/// right in turn, one alone to both.
std::vector<CaptureRoute> captureRoutes(const GraphNode& program, const std::vector<GraphPort>& ports);

}  // namespace tarn
