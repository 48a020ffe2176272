#include "NodeParameters.h"

#include <spa/debug/types.h>
#include <spa/param/audio/format.h>
#include <spa/param/audio/type-info.h>
#include <spa/param/format-utils.h>
#include <spa/param/props.h>
#include <spa/pod/builder.h>
#include <spa/pod/iter.h>

#include <array>
#include <optional>
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

/// The value of an integer property, or the default where it is a choice.
std::optional<std::int32_t> numberIn(const spa_pod& object, std::uint32_t key) {
    const spa_pod_prop* found = spa_pod_find_prop(&object, nullptr, key);
    if (found == nullptr) {
        return std::nullopt;
    }
    std::uint32_t count = 0;
    std::uint32_t choice = 0;
    const spa_pod* value = spa_pod_get_values(&found->value, &count, &choice);
    std::int32_t number = 0;
    if (count == 0 || spa_pod_get_int(value, &number) < 0) {
        return std::nullopt;
    }
    return number;
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

std::uint32_t channelNumber(std::string_view name) {
    for (const spa_type_info* info = spa_type_audio_channel; info->name != nullptr; ++info) {
        const std::string_view full = info->name;
        if (full.substr(full.rfind(':') + 1) == name) {
            return info->type;
        }
    }
    return SPA_AUDIO_CHANNEL_UNKNOWN;
}

void readNodeProps(const spa_pod& props, GraphNode& node) {
    if (!spa_pod_is_object(&props)) {
        return;
    }
    if (const spa_pod_prop* map = spa_pod_find_prop(&props, nullptr, SPA_PROP_channelMap)) {
        node.channels = channelNames(arrayOf<std::uint32_t>(map->value, SPA_TYPE_Id));
    }
    if (const spa_pod_prop* levels = spa_pod_find_prop(&props, nullptr, SPA_PROP_channelVolumes)) {
        node.volumes = arrayOf<float>(levels->value, SPA_TYPE_Float);
    }
    if (const spa_pod_prop* levels = spa_pod_find_prop(&props, nullptr, SPA_PROP_softVolumes)) {
        node.softVolumes = arrayOf<float>(levels->value, SPA_TYPE_Float);
    }
}

const spa_pod* softVolumeProps(std::span<const float> volumes, std::span<std::byte, 1024> memory) {
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), static_cast<std::uint32_t>(memory.size()));
    spa_pod_frame frame{};
    spa_pod_builder_push_object(&builder, &frame, SPA_TYPE_OBJECT_Props, SPA_PARAM_Props);
    spa_pod_builder_prop(&builder, SPA_PROP_softVolumes, 0);
    spa_pod_builder_array(&builder, sizeof(float), SPA_TYPE_Float, static_cast<std::uint32_t>(volumes.size()),
                          volumes.data());
    return static_cast<const spa_pod*>(spa_pod_builder_pop(&builder, &frame));
}

void readNodeFormat(const spa_pod& format, GraphNode& node) {
    std::uint32_t type = 0;
    std::uint32_t subtype = 0;
    if (!spa_pod_is_object(&format) || spa_format_parse(&format, &type, &subtype) < 0 ||
        type != SPA_MEDIA_TYPE_audio || subtype != SPA_MEDIA_SUBTYPE_raw) {
        return;
    }
    if (const auto rate = numberIn(format, SPA_FORMAT_AUDIO_rate); rate && *rate > 0) {
        node.deviceRate = static_cast<std::uint32_t>(*rate);
    }
    const spa_pod_prop* positions = spa_pod_find_prop(&format, nullptr, SPA_FORMAT_AUDIO_position);
    if (positions != nullptr && spa_pod_is_array(&positions->value)) {
        node.deviceChannels = channelNames(arrayOf<std::uint32_t>(positions->value, SPA_TYPE_Id));
    } else if (const auto count = numberIn(format, SPA_FORMAT_AUDIO_channels);
               count && *count > 0 && static_cast<std::uint32_t>(*count) <= mostChannels) {
        node.deviceChannels.assign(static_cast<std::size_t>(*count), "UNK");
    }
}

}  // namespace tarn
