#include "NodeParameters.h"

#include <spa/debug/types.h>
#include <spa/param/audio/type-info.h>
#include <spa/param/props.h>
#include <spa/pod/iter.h>

#include <array>
#include <string_view>

namespace tarn {

namespace {

constexpr std::uint32_t mostChannels = 64;

template <typename T>
std::vector<T> arrayOf(const spa_pod& pod, std::uint32_t type) {
    std::array<T, mostChannels> values{};
    const std::uint32_t count = spa_pod_copy_array(&pod, type, values.data(), mostChannels);
    return {values.begin(), values.begin() + count};
}

}  // namespace

std::vector<std::string> channelNames(const std::vector<std::uint32_t>& channels) {
    std::vector<std::string> names;
    for (const std::uint32_t channel : channels) {
        const char* full = spa_debug_type_find_short_name(spa_type_audio_channel, channel);
        names.emplace_back(full == nullptr ? "UNK" : full);
    }
    return names;
}

void readNodeProps(const spa_pod& props, std::vector<std::string>& channels, std::vector<float>& volumes) {
    if (!spa_pod_is_object(&props)) {
        return;
    }
    if (const spa_pod_prop* map = spa_pod_find_prop(&props, nullptr, SPA_PROP_channelMap)) {
        channels = channelNames(arrayOf<std::uint32_t>(map->value, SPA_TYPE_Id));
    }
    if (const spa_pod_prop* levels = spa_pod_find_prop(&props, nullptr, SPA_PROP_channelVolumes)) {
        volumes = arrayOf<float>(levels->value, SPA_TYPE_Float);
    }
}

}  // namespace tarn
