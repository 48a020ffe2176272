#include "AudioServerFacts.h"

#include <pipewire/extensions/metadata.h>
#include <pipewire/pipewire.h>

#include <algorithm>
#include <memory>
#include <string_view>

#include "AudioServerError.h"
#include "TarnPlatform/base/Destroy.h"

namespace tarn {
namespace {

using Loop = std::unique_ptr<pw_loop, Destroy<pw_loop_destroy>>;
using Context = std::unique_ptr<pw_context, Destroy<pw_context_destroy>>;
using Core = std::unique_ptr<pw_core, Destroy<pw_core_disconnect>>;

/// Marks the loop as this thread's.
class Entered {
public:
    explicit Entered(pw_loop* loop) : loop_(loop) { pw_loop_enter(loop_); }
    ~Entered() { pw_loop_leave(loop_); }
    Entered(const Entered&) = delete;
    Entered& operator=(const Entered&) = delete;

private:
    pw_loop* const loop_;
};

struct Listening {
    AudioServerFacts facts;
    int answered = -1;
    bool isBroken = false;
};

std::string_view text(const spa_dict* properties, const char* key) {
    const char* const value = properties == nullptr ? nullptr : spa_dict_lookup(properties, key);
    return value == nullptr ? "" : value;
}

void announced(void* self, std::uint32_t, std::uint32_t, const char* type, std::uint32_t,
               const spa_dict* properties) {
    auto& facts = static_cast<Listening*>(self)->facts;
    if (std::string_view(type) == PW_TYPE_INTERFACE_Metadata) {
        facts.hasDefaults = facts.hasDefaults || text(properties, PW_KEY_METADATA_NAME) == "default";
    } else if (std::string_view(type) == PW_TYPE_INTERFACE_Client) {
        const std::string name(text(properties, PW_KEY_APP_NAME));
        const bool manages = name == "WirePlumber" || name == "pipewire-media-session";
        if (manages && std::ranges::find(facts.managers, name) == facts.managers.end()) {
            facts.managers.push_back(name);
        }
    }
}

constexpr pw_registry_events registryEvents = {
    .version = PW_VERSION_REGISTRY_EVENTS, .global = announced, .global_remove = nullptr};

constexpr pw_core_events coreEvents = {
    .version = PW_VERSION_CORE_EVENTS,
    .info =
        [](void* self, const pw_core_info* info) {
            auto& version = static_cast<Listening*>(self)->facts.version;
            version = info->version == nullptr ? "" : info->version;
        },
    .done =
        [](void* self, std::uint32_t id, int sequence) {
            if (id == PW_ID_CORE) {
                static_cast<Listening*>(self)->answered = sequence;
            }
        },
    .ping = nullptr,
    .error = [](void* self, std::uint32_t id, int, int,
                const char*) { static_cast<Listening*>(self)->isBroken |= id == PW_ID_CORE; },
    .remove_id = nullptr,
    .bound_id = nullptr,
    .add_mem = nullptr,
    .remove_mem = nullptr};

}  // namespace

Result<AudioServerFacts> AudioServerFacts::read(std::chrono::milliseconds limit) {
    pw_init(nullptr, nullptr);
    const auto deadline = std::chrono::steady_clock::now() + limit;
    const Loop loop(pw_loop_new(nullptr));
    const Context context(loop ? pw_context_new(loop.get(), nullptr, 0) : nullptr);
    if (!context) {
        return failure(ErrorKind::unavailable, "the audio server's client library could not be set up");
    }
    const Entered entered(loop.get());
    const Core core(pw_context_connect(context.get(), nullptr, 0));
    if (!core) {
        return audioServerAbsent();
    }
    Listening listening;
    spa_hook coreHook{};
    spa_hook registryHook{};
    pw_core_add_listener(core.get(), &coreHook, &coreEvents, &listening);
    pw_registry* const registry = pw_core_get_registry(core.get(), PW_VERSION_REGISTRY, 0);
    pw_registry_add_listener(registry, &registryHook, &registryEvents, &listening);
    const int question = pw_core_sync(core.get(), PW_ID_CORE, 0);
    while (!listening.isBroken && listening.answered != question) {
        const auto remaining = std::chrono::duration_cast<std::chrono::milliseconds>(
            deadline - std::chrono::steady_clock::now());
        if (remaining.count() <= 0 || pw_loop_iterate(loop.get(), static_cast<int>(remaining.count())) < 0) {
            break;
        }
    }
    spa_hook_remove(&registryHook);
    spa_hook_remove(&coreHook);
    pw_proxy_destroy(reinterpret_cast<pw_proxy*>(registry));
    if (listening.isBroken) {
        return audioServerAbsent();
    }
    if (listening.answered != question) {
        return audioServerSilent();
    }
    return std::move(listening.facts);
}

}  // namespace tarn
