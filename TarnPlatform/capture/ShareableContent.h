#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "TarnPlatform/audioserver/Graph.h"

namespace tarn {

/// Something that a capture can be taken of as a whole: an output of the computer.
struct CaptureDisplay {
    GraphId displayID = 0;
    std::string name;  ///< for people
};

/// A program that plays, or is ready to.
struct RunningApplication {
    std::string bundleIdentifier{};  ///< what names it from run to run; may be empty
    std::string applicationName{};   ///< for people; may be empty
    std::int64_t processID = 0;      ///< 0: not known

    bool operator==(const RunningApplication&) const = default;
};

/// What can be captured. Value type.
struct ShareableContent {
    std::vector<CaptureDisplay> displays;          ///< in the server's order of their ids
    std::vector<RunningApplication> applications;  ///< likewise; one for each client and identifier
};

/// The sinks, and the clients that have an output stream of their own.
ShareableContent shareableContent(const Graph& graph);

/// The program that a node belongs to: its identifier is the first that is not empty of the portal's
/// application id, "application.id", "application.process.binary", "application.name" and the node's name.
RunningApplication applicationOf(const Graph& graph, const GraphNode& node);

}  // namespace tarn
