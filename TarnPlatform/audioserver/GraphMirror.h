#pragma once

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <functional>
#include <map>
#include <memory>
#include <span>

#include "Graph.h"

namespace tarn {

/// Keeps a `Graph` as one connection's registry tells it. Thread: the loop.
class GraphMirror {
public:
    /// `changed` is called after every change. Requires: `core` outlives this.
    GraphMirror(pw_core* core, std::function<void()> changed);
    ~GraphMirror();
    GraphMirror(const GraphMirror&) = delete;
    GraphMirror& operator=(const GraphMirror&) = delete;

    const Graph& graph() const { return graph_; }

    /// As `AudioServer::setVolumeFactor`.
    void setVolumeFactor(GraphId id, float factor);

private:
    struct Bound;

    static const pw_registry_events registryEvents;
    static const pw_node_events nodeEvents;
    static const pw_client_events clientEvents;
    static const pw_metadata_events metadataEvents;

    void changed();
    void added(GraphId id, std::string_view type, const spa_dict* properties);
    void removed(GraphId id);
    Bound* bind(GraphId id, const char* type, std::uint32_t version, const void* events);
    void nodeDescribed(GraphId id, const pw_node_info* info);
    void nodeParameter(GraphId id, std::uint32_t kind, const spa_pod* parameter);
    void metadataSet(std::uint32_t subject, const char* key, const char* value);

    pw_core* const core_;
    pw_registry* const registry_;
    const std::function<void()> changed_;
    spa_hook registryHook_{};
    std::map<GraphId, std::unique_ptr<Bound>> bound_;
    std::optional<GraphId> defaults_;  ///< the session manager's record of them
    bool managerWent_ = false;
    Graph graph_;
};

}  // namespace tarn
