#include "CaptureLinks.h"

#include <pipewire/pipewire.h>

#include <algorithm>
#include <string>

#include "CaptureRoutes.h"

namespace tarn {

namespace {

constexpr std::chrono::milliseconds firstPatience{500};
constexpr std::chrono::milliseconds longestPatience{8000};

}  // namespace

class CaptureLinks::Link {
public:
    Link(GraphId program, Ends ends, GraphId own) : program_(program), ends_(ends), own_(own) {}
    ~Link() { drop(); }
    Link(const Link&) = delete;
    Link& operator=(const Link&) = delete;

    void make(AudioServer& server) {
        drop();
        pw_core* core = server.core();
        if (core == nullptr) {
            return;
        }
        pw_properties* properties = pw_properties_new(nullptr, nullptr);
        pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", program_);
        pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", ends_.first);
        pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", own_);
        pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", ends_.second);
        proxy_ = static_cast<pw_proxy*>(pw_core_create_object(core, "link-factory", PW_TYPE_INTERFACE_Link,
                                                              PW_VERSION_LINK, &properties->dict, 0));
        pw_properties_free(properties);
        if (proxy_ != nullptr) {
            pw_proxy_add_listener(proxy_, &proxyHook_, &proxyEvents, this);
            pw_proxy_add_object_listener(proxy_, &linkHook_, &linkEvents, this);
        }
    }

    GraphId program() const { return program_; }

    void watch(AudioServer& server, bool shouldBeActive, std::chrono::milliseconds elapsed) {
        if (active_) {
            waited_ = {};
            patience_ = firstPatience;
            return;
        }
        waited_ = shouldBeActive ? waited_ + elapsed : std::chrono::milliseconds(0);
        if (waited_ >= patience_) {
            waited_ = {};
            patience_ = std::min(2 * patience_, longestPatience);
            make(server);
        }
    }

private:
    static const pw_proxy_events proxyEvents;
    static const pw_link_events linkEvents;

    void drop() {
        active_ = false;
        if (proxy_ != nullptr) {
            spa_hook_remove(&linkHook_);
            spa_hook_remove(&proxyHook_);
            pw_proxy_destroy(std::exchange(proxy_, nullptr));
        }
        linkHook_ = {};
        proxyHook_ = {};
    }

    const GraphId program_;
    const Ends ends_;
    const GraphId own_;
    pw_proxy* proxy_ = nullptr;
    spa_hook proxyHook_{};
    spa_hook linkHook_{};
    bool active_ = false;
    std::chrono::milliseconds waited_{0};
    std::chrono::milliseconds patience_ = firstPatience;
};

const pw_proxy_events CaptureLinks::Link::proxyEvents = {
    .version = PW_VERSION_PROXY_EVENTS,
    .destroy = nullptr,
    .bound = nullptr,
    .removed = [](void* self) { static_cast<Link*>(self)->active_ = false; },
    .done = nullptr,
    .error = [](void* self, int, int, const char*) { static_cast<Link*>(self)->active_ = false; },
};

const pw_link_events CaptureLinks::Link::linkEvents = {
    .version = PW_VERSION_LINK_EVENTS,
    .info =
        [](void* self, const pw_link_info* info) {
            if ((info->change_mask & PW_LINK_CHANGE_MASK_STATE) != 0) {
                static_cast<Link*>(self)->active_ = info->state == PW_LINK_STATE_ACTIVE;
            }
        },
};

CaptureLinks::CaptureLinks(AudioServer& server, Choose chosen)
    : server_(server), chosen_(std::move(chosen)) {}

CaptureLinks::~CaptureLinks() = default;

std::map<CaptureLinks::Ends, GraphId> CaptureLinks::wanted(const Graph& graph) const {
    std::map<GraphId, std::vector<GraphPort>> outputs;
    for (const auto& [id, port] : graph.ports) {
        if (port.output && !port.monitor) {
            outputs[port.node].push_back(port);
        }
    }
    std::map<Ends, GraphId> ends;
    for (const auto& [id, ports] : outputs) {
        const auto node = graph.nodes.find(id);
        if (node == graph.nodes.end() || !chosen_(graph, node->second)) {
            continue;
        }
        for (const auto& [port, channel] : captureRoutes(node->second, ports)) {
            if (const auto input = inputs_.find(channel); input != inputs_.end()) {
                ends[{port, input->second}] = id;
            }
        }
    }
    return ends;
}

void CaptureLinks::update(const Graph& graph, GraphId own) {
    own_ = own;
    inputs_.clear();
    for (const auto& [id, port] : graph.ports) {
        if (port.node == own && !port.output && !port.monitor) {
            inputs_[port.channel] = id;
        }
    }
    const auto ends = wanted(graph);
    std::erase_if(links_, [&](const auto& link) { return !ends.contains(link.first); });
    for (const auto& [pair, program] : ends) {
        auto& link = links_[pair];
        if (link == nullptr) {
            link = std::make_unique<Link>(program, pair, own_);
            link->make(server_);
        }
    }
}

void CaptureLinks::watch(const Graph& graph, bool streaming, std::chrono::milliseconds elapsed) {
    for (const auto& [ends, link] : links_) {
        const auto program = graph.nodes.find(link->program());
        link->watch(server_, streaming && program != graph.nodes.end() && program->second.running, elapsed);
    }
}

}  // namespace tarn
