#pragma once

#include <array>
#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "TarnPlatform/audioserver/AudioServer.h"

namespace tarn {

class GraphLink;

/// The links from the programs that a capture hears to the capture's own stream, for one connection.
/// Thread: the loop, or under the server's Lock.
class CaptureLinks {
public:
    using Choose = std::function<bool(const Graph&, const GraphNode&)>;

    /// `chosen` says which playing programs are heard.
    CaptureLinks(AudioServer& server, Choose chosen);
    /// Requires: the connection still stands, or has not been taken down.
    ~CaptureLinks();
    CaptureLinks(const CaptureLinks&) = delete;
    CaptureLinks& operator=(const CaptureLinks&) = delete;

    /// Makes and takes away what the graph asks for now. `own`: the capture's node.
    void update(const Graph& graph, GraphId own);

    /// By what the sound is to be multiplied to be as loud as if this process turned no program down: up to
    /// 10, and never so that a program would be louder than it plays.
    float gain(const Graph& graph) const;

    /// Whether the capture's node has all of its ports, which it gets from the session manager.
    bool hasPorts() const { return inputs_.size() == 6; }

    /// Makes afresh what is not active though both ends run: a session manager that is started again leaves
    /// links behind that carry nothing. After 0.5 s, and each time after twice as long, up to 8 s.
    /// `elapsed`: since the call before. Requires: `update` was told of every change of the graph.
    void watch(const Graph& graph, bool streaming, std::chrono::milliseconds elapsed);

private:
    using Ends = std::pair<GraphId, GraphId>;  // ports: the program's, ours

    std::map<Ends, GraphId> wanted(const Graph& graph) const;

    AudioServer& server_;
    const Choose chosen_;
    GraphId own_ = 0;
    std::map<std::string, GraphId, std::less<>> inputs_;  // by channel
    std::map<Ends, std::unique_ptr<GraphLink>> links_;
};

}  // namespace tarn
