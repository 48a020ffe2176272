#pragma once

#include <chrono>
#include <map>
#include <memory>
#include <utility>

#include "AudioServer.h"
#include "GraphStream.h"

namespace tarn {

class GraphLink;

/// Links a stream of ours to its device in the session manager's place, where that leaves it unlinked for 2
/// s: because it has died, or was started again while something played, after which WirePlumber 0.4.13 links
/// nothing any more. Thread: the loop, or under the server's Lock.
class StandInLinks {
public:
    explicit StandInLinks(AudioServer& server);
    /// Requires: the connection still stands, or `drop` was called before it went.
    ~StandInLinks();
    StandInLinks(const StandInLinks&) = delete;
    StandInLinks& operator=(const StandInLinks&) = delete;

    /// To be called every `elapsed`. `device`: the output to play on, or whose monitor is captured, or the
    /// microphone; null where there is none. Links that were made follow it.
    void watch(const GraphStream* stream, const GraphNode* device, std::chrono::milliseconds elapsed);

    void drop();

private:
    using Ends = std::pair<GraphId, GraphId>;  // ports: the output, the input

    AudioServer& server_;
    std::chrono::milliseconds idleFor_{0};
    std::map<Ends, std::unique_ptr<GraphLink>> links_;
};

}  // namespace tarn
