#include "GraphLink.h"

#include <algorithm>

namespace tarn {

const pw_proxy_events GraphLink::proxyEvents = {
    .version = PW_VERSION_PROXY_EVENTS,
    .destroy = nullptr,
    .bound = nullptr,
    .removed = [](void* self) { static_cast<GraphLink*>(self)->active_ = false; },
    .done = nullptr,
    .error = [](void* self, int, int, const char*) { static_cast<GraphLink*>(self)->active_ = false; },
};

const pw_link_events GraphLink::linkEvents = {
    .version = PW_VERSION_LINK_EVENTS,
    .info =
        [](void* self, const pw_link_info* info) {
            if ((info->change_mask & PW_LINK_CHANGE_MASK_STATE) != 0) {
                static_cast<GraphLink*>(self)->active_ = info->state == PW_LINK_STATE_ACTIVE;
            }
        },
};

GraphLink::GraphLink(GraphId outputNode, Ends ends, GraphId inputNode)
    : outputNode_(outputNode), ends_(std::move(ends)), inputNode_(inputNode) {}

GraphLink::~GraphLink() {
    drop();
}

void GraphLink::drop() {
    active_ = false;
    if (proxy_ != nullptr) {
        spa_hook_remove(&linkHook_);
        spa_hook_remove(&proxyHook_);
        pw_proxy_destroy(std::exchange(proxy_, nullptr));
    }
    linkHook_ = {};
    proxyHook_ = {};
}

void GraphLink::make(AudioServer& server) {
    drop();
    pw_core* core = server.core();
    if (core == nullptr) {
        return;
    }
    pw_properties* properties = pw_properties_new(nullptr, nullptr);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_NODE, "%u", outputNode_);
    pw_properties_setf(properties, PW_KEY_LINK_OUTPUT_PORT, "%u", ends_.first);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_NODE, "%u", inputNode_);
    pw_properties_setf(properties, PW_KEY_LINK_INPUT_PORT, "%u", ends_.second);
    proxy_ = static_cast<pw_proxy*>(pw_core_create_object(core, "link-factory", PW_TYPE_INTERFACE_Link,
                                                          PW_VERSION_LINK, &properties->dict, 0));
    pw_properties_free(properties);
    if (proxy_ != nullptr) {
        pw_proxy_add_listener(proxy_, &proxyHook_, &proxyEvents, this);
        pw_proxy_add_object_listener(proxy_, &linkHook_, &linkEvents, this);
    }
}

void GraphLink::watch(AudioServer& server, bool shouldBeActive, std::chrono::milliseconds elapsed) {
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

}  // namespace tarn
