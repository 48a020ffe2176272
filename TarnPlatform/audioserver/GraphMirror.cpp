#include "GraphMirror.h"

#include <spa/param/param.h>

#include <array>
#include <boost/json/parse.hpp>
#include <boost/json/value.hpp>
#include <charconv>
#include <iterator>
#include <string_view>
#include <utility>

#include "NodeParameters.h"

namespace tarn {

namespace {

Properties propertiesOf(const spa_dict* dictionary) {
    Properties properties;
    if (dictionary != nullptr) {
        for (const spa_dict_item* item = dictionary->items; item != dictionary->items + dictionary->n_items;
             ++item) {
            properties[item->key] = item->value == nullptr ? "" : item->value;
        }
    }
    return properties;
}

GraphId idOf(const std::string& text) {
    GraphId id = PW_ID_ANY;
    std::from_chars(text.data(), text.data() + text.size(), id);
    return id;
}

/// The name in {"name":"..."}.
std::optional<std::string> nameOf(const char* value) {
    if (value == nullptr) {
        return std::nullopt;
    }
    boost::system::error_code error;
    const boost::json::value parsed = boost::json::parse(value, error);
    if (error || !parsed.is_object()) {
        return std::nullopt;
    }
    const boost::json::value* name = parsed.get_object().if_contains("name");
    return name != nullptr && name->is_string() ? std::optional<std::string>(name->get_string())
                                                : std::nullopt;
}

}  // namespace

/// A proxy whose object tells us more than its announcement did.
struct GraphMirror::Bound {
    GraphMirror* mirror;
    GraphId id;
    pw_proxy* proxy;
    spa_hook hook{};

    Bound(GraphMirror* itsMirror, GraphId itsId, pw_proxy* itsProxy)
        : mirror(itsMirror), id(itsId), proxy(itsProxy) {}
    Bound(const Bound&) = delete;
    Bound& operator=(const Bound&) = delete;
    ~Bound() {
        spa_hook_remove(&hook);
        pw_proxy_destroy(proxy);
    }
};

const pw_registry_events GraphMirror::registryEvents = {
    .version = PW_VERSION_REGISTRY_EVENTS,
    .global =
        [](void* self, std::uint32_t id, std::uint32_t, const char* type, std::uint32_t,
           const spa_dict* properties) { static_cast<GraphMirror*>(self)->added(id, type, properties); },
    .global_remove = [](void* self, std::uint32_t id) { static_cast<GraphMirror*>(self)->removed(id); },
};

const pw_node_events GraphMirror::nodeEvents = {
    .version = PW_VERSION_NODE_EVENTS,
    .info =
        [](void* data, const pw_node_info* info) {
            auto& bound = *static_cast<Bound*>(data);
            bound.mirror->nodeDescribed(bound.id, info);
        },
    .param =
        [](void* data, int, std::uint32_t kind, std::uint32_t, std::uint32_t, const spa_pod* parameter) {
            auto& bound = *static_cast<Bound*>(data);
            if (parameter != nullptr) {
                bound.mirror->nodeParameter(bound.id, kind, parameter);
            }
        },
};

const pw_client_events GraphMirror::clientEvents = {
    .version = PW_VERSION_CLIENT_EVENTS,
    .info =
        [](void* data, const pw_client_info* info) {
            auto& bound = *static_cast<Bound*>(data);
            if ((info->change_mask & PW_CLIENT_CHANGE_MASK_PROPS) != 0) {
                GraphClient& client = bound.mirror->graph_.clients[bound.id];
                client.properties = propertiesOf(info->props);
                client.described = true;
                bound.mirror->changed();
            }
        },
    .permissions = nullptr,
};

const pw_metadata_events GraphMirror::metadataEvents = {
    .version = PW_VERSION_METADATA_EVENTS,
    .property =
        [](void* data, std::uint32_t subject, const char* key, const char*, const char* value) {
            static_cast<Bound*>(data)->mirror->metadataSet(subject, key, value);
            return 0;
        },
};

GraphMirror::GraphMirror(pw_core* core, std::function<void()> changed)
    : core_(core),
      registry_(pw_core_get_registry(core, PW_VERSION_REGISTRY, 0)),
      changed_(std::move(changed)) {
    pw_registry_add_listener(registry_, &registryHook_, &registryEvents, this);
}

GraphMirror::~GraphMirror() {
    bound_.clear();
    spa_hook_remove(&registryHook_);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry_));
}

void GraphMirror::changed() {
    const std::uint32_t own = pw_proxy_get_bound_id(reinterpret_cast<pw_proxy*>(pw_core_get_client(core_)));
    graph_.ownClient = own == PW_ID_ANY ? std::nullopt : std::optional(own);
    changed_();
}

GraphMirror::Bound* GraphMirror::bind(GraphId id, const char* type, std::uint32_t version,
                                      const void* events) {
    auto* proxy = static_cast<pw_proxy*>(pw_registry_bind(registry_, id, type, version, 0));
    if (proxy == nullptr) {
        return nullptr;
    }
    auto& bound = bound_[id] = std::make_unique<Bound>(this, id, proxy);
    pw_proxy_add_object_listener(proxy, &bound->hook, events, bound.get());
    return bound.get();
}

void GraphMirror::added(GraphId id, std::string_view type, const spa_dict* dictionary) {
    Properties properties = propertiesOf(dictionary);
    if (type == PW_TYPE_INTERFACE_Node) {
        const std::string mediaClass = property(properties, "media.class");
        GraphNode& node = graph_.nodes[id] = GraphNode();
        node.id = id;
        node.properties = std::move(properties);
        if (mediaClass.find("Audio") != std::string::npos) {
            if (const Bound* bound = bind(id, PW_TYPE_INTERFACE_Node, PW_VERSION_NODE, &nodeEvents)) {
                std::uint32_t parameters[] = {SPA_PARAM_Props, SPA_PARAM_EnumFormat, SPA_PARAM_Format};
                pw_node_subscribe_params(reinterpret_cast<pw_node*>(bound->proxy), parameters,
                                         std::size(parameters));
            }
        }
    } else if (type == PW_TYPE_INTERFACE_Client) {
        graph_.clients[id] = GraphClient{.id = id, .properties = std::move(properties), .described = false};
        bind(id, PW_TYPE_INTERFACE_Client, PW_VERSION_CLIENT, &clientEvents);
    } else if (type == PW_TYPE_INTERFACE_Port) {
        graph_.ports[id] = GraphPort{.id = id,
                                     .node = idOf(property(properties, "node.id")),
                                     .output = property(properties, "port.direction") == "out",
                                     .monitor = property(properties, "port.monitor") == "true",
                                     .channel = property(properties, "audio.channel")};
    } else if (type == PW_TYPE_INTERFACE_Metadata && property(properties, "metadata.name") == "default") {
        bind(id, PW_TYPE_INTERFACE_Metadata, PW_VERSION_METADATA, &metadataEvents);
        defaults_ = id;
        graph_.isManaged = true;
        graph_.managerSerial = serialOf(properties);
        graph_.managerReturns += std::exchange(managerWent_, false) ? 1 : 0;
    } else {
        return;
    }
    changed();
}

void GraphMirror::removed(GraphId id) {
    bound_.erase(id);
    if (defaults_ == id) {
        defaults_.reset();
        graph_.isManaged = false;
        managerWent_ = true;
        changed();
    }
    if (graph_.nodes.erase(id) + graph_.clients.erase(id) + graph_.ports.erase(id) > 0) {
        changed();
    }
}

void GraphMirror::nodeDescribed(GraphId id, const pw_node_info* info) {
    constexpr std::uint64_t told = PW_NODE_CHANGE_MASK_PROPS | PW_NODE_CHANGE_MASK_STATE;
    if ((info->change_mask & told) == 0) {
        return;
    }
    GraphNode& node = graph_.nodes[id];
    if ((info->change_mask & PW_NODE_CHANGE_MASK_STATE) != 0) {
        node.running = info->state == PW_NODE_STATE_RUNNING;
    }
    if ((info->change_mask & PW_NODE_CHANGE_MASK_PROPS) != 0) {
        for (auto& [key, value] : propertiesOf(info->props)) {
            node.properties.insert_or_assign(key, value);
        }
        node.described = true;
    }
    changed();
}

void GraphMirror::nodeParameter(GraphId id, std::uint32_t kind, const spa_pod* parameter) {
    GraphNode& node = graph_.nodes[id];
    if (kind == SPA_PARAM_Props) {
        readNodeProps(*parameter, node);
    } else {
        readNodeFormat(*parameter, node);
    }
    changed();
}

void GraphMirror::setVolumeFactor(GraphId id, float factor) {
    const auto found = bound_.find(id);
    const auto node = graph_.nodes.find(id);
    if (found == bound_.end() || node == graph_.nodes.end()) {
        return;
    }
    node->second.askedFactor = factor;
    std::vector<float> volumes = node->second.volumes;
    for (float& volume : volumes) {
        volume *= factor;
    }
    std::array<std::byte, 1024> memory{};
    pw_node_set_param(reinterpret_cast<pw_node*>(found->second->proxy), SPA_PARAM_Props, 0,
                      softVolumeProps(volumes, memory));
    changed();
}

void GraphMirror::metadataSet(std::uint32_t subject, const char* key, const char* value) {
    if (subject != PW_ID_CORE) {
        return;
    }
    const std::string_view name = key == nullptr ? "" : key;
    if (key == nullptr || name == "default.audio.sink") {
        graph_.defaultSink = nameOf(value);
    }
    if (key == nullptr || name == "default.audio.source") {
        graph_.defaultSource = nameOf(value);
    }
    changed();
}

}  // namespace tarn
