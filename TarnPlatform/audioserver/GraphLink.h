#pragma once

#include <pipewire/pipewire.h>

#include <chrono>
#include <utility>

#include "AudioServer.h"

namespace tarn {

/// A link of ours from an output port to an input port, for one connection. Thread: the loop, or under the
/// server's Lock.
class GraphLink {
public:
    using Ends = std::pair<GraphId, GraphId>;  ///< ports: the output, the input

    GraphLink(GraphId outputNode, Ends ends, GraphId inputNode);
    /// Requires: the connection still stands, or has not been taken down.
    ~GraphLink();
    GraphLink(const GraphLink&) = delete;
    GraphLink& operator=(const GraphLink&) = delete;

    GraphId outputNode() const { return outputNode_; }

    /// Makes it, afresh where it was made before.
    void make(AudioServer& server);

    /// Makes it afresh where it is not active though it should be: after 0.5 s, and each time after twice as
    /// long, up to 8 s. `elapsed`: since the call before.
    void watch(AudioServer& server, bool shouldBeActive, std::chrono::milliseconds elapsed);

private:
    static const pw_proxy_events proxyEvents;
    static const pw_link_events linkEvents;
    static constexpr std::chrono::milliseconds firstPatience{500};
    static constexpr std::chrono::milliseconds longestPatience{8000};

    void drop();

    const GraphId outputNode_;
    const Ends ends_;
    const GraphId inputNode_;
    pw_proxy* proxy_ = nullptr;
    spa_hook proxyHook_{};
    spa_hook linkHook_{};
    bool active_ = false;
    std::chrono::milliseconds waited_{0};
    std::chrono::milliseconds patience_ = firstPatience;
};

}  // namespace tarn
