#include "GraphStream.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cstring>

#include "AudioServerError.h"
#include "NodeParameters.h"

namespace tarn {

namespace {

std::uint32_t serverChannel(ChannelPosition position) {
    switch (position) {
        case ChannelPosition::frontLeft:
            return SPA_AUDIO_CHANNEL_FL;
        case ChannelPosition::frontRight:
            return SPA_AUDIO_CHANNEL_FR;
        case ChannelPosition::frontCentre:
            return SPA_AUDIO_CHANNEL_FC;
        case ChannelPosition::lowFrequency:
            return SPA_AUDIO_CHANNEL_LFE;
        case ChannelPosition::rearLeft:
            return SPA_AUDIO_CHANNEL_RL;
        case ChannelPosition::rearRight:
            return SPA_AUDIO_CHANNEL_RR;
        case ChannelPosition::rearCentre:
            return SPA_AUDIO_CHANNEL_RC;
        case ChannelPosition::sideLeft:
            return SPA_AUDIO_CHANNEL_SL;
        case ChannelPosition::sideRight:
            return SPA_AUDIO_CHANNEL_SR;
        case ChannelPosition::unknown:
            break;
    }
    return SPA_AUDIO_CHANNEL_UNKNOWN;
}

}  // namespace

void GraphStreamHandler::receiveRt(std::span<const float>, std::int64_t) noexcept {}

void GraphStreamHandler::renderRt(std::span<float> interleaved, std::int64_t) noexcept {
    std::ranges::fill(interleaved, 0.0F);
}

void GraphStreamHandler::ended(const std::string&) {}

struct GraphStream::Events {
    static void stateChanged(void* data, pw_stream_state, pw_stream_state state, const char* error) {
        auto& stream = *static_cast<GraphStream*>(data);
        stream.streaming_ = state == PW_STREAM_STATE_STREAMING;
        switch (state) {
            case PW_STREAM_STATE_STREAMING:
                stream.handler_.streaming();
                break;
            case PW_STREAM_STATE_UNCONNECTED:
            case PW_STREAM_STATE_ERROR:
                stream.handler_.ended(error == nullptr ? "" : error);
                break;
            case PW_STREAM_STATE_CONNECTING:
            case PW_STREAM_STATE_PAUSED:
                break;
        }
    }

    static void process(void* data) { static_cast<GraphStream*>(data)->processRt(); }

    pw_stream_events table{};
    spa_hook hook{};
};

GraphStream::GraphStream(const AudioServer& server, const Description& description,
                         GraphStreamHandler& handler)
    : handler_(handler),
      capture_(description.capture),
      frameBytes_(description.channelCount() * sizeof(float)),
      managerReturns_(server.graph().managerReturns),
      events_(std::make_unique<Events>()) {}

Result<std::unique_ptr<GraphStream>> GraphStream::make(AudioServer& server, const Description& description,
                                                       GraphStreamHandler& handler) {
    if (server.core() == nullptr) {
        return audioServerAbsent();
    }
    if (description.channelCount() == 0 || description.channelCount() > SPA_AUDIO_MAX_CHANNELS) {
        return failure(ErrorKind::invalidInput, "a stream of that many channels is not possible");
    }
    std::unique_ptr<GraphStream> stream(new GraphStream(server, description, handler));

    pw_properties* properties = pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY,
                                                  description.capture ? "Capture" : "Playback", nullptr);
    pw_properties_set(properties, AudioServer::instanceKey, AudioServer::instanceTag().c_str());
    for (const auto& [key, value] : description.properties) {
        pw_properties_set(properties, key.c_str(), value.c_str());
    }
    stream->stream_ = pw_stream_new(server.core(), description.name.c_str(), properties);
    if (stream->stream_ == nullptr) {
        return failure(ErrorKind::system,
                       std::string("the audio server took no stream: ") + std::strerror(errno));
    }
    pw_stream_events& table = stream->events_->table;
    table.version = PW_VERSION_STREAM_EVENTS;
    table.state_changed = &Events::stateChanged;
    table.process = &Events::process;
    pw_stream_add_listener(stream->stream_, &stream->events_->hook, &table, stream.get());

    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = description.rate;
    format.channels = static_cast<std::uint32_t>(description.channelCount());
    std::ranges::transform(description.channels, std::begin(format.position), serverChannel);
    std::ranges::transform(description.channelNames, std::begin(format.position), channelNumber);
    std::array<std::byte, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_pod* parameters[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
    unsigned flags = PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS;
    if (description.autoconnect) {
        flags |= PW_STREAM_FLAG_AUTOCONNECT;
    }
    const int status =
        pw_stream_connect(stream->stream_, description.capture ? PW_DIRECTION_INPUT : PW_DIRECTION_OUTPUT,
                          PW_ID_ANY, static_cast<pw_stream_flags>(flags), parameters, 1);
    if (status < 0) {
        return failure(ErrorKind::system,
                       std::string("the audio server took no stream: ") + std::strerror(-status));
    }
    return stream;
}

GraphStream::~GraphStream() {
    if (stream_ != nullptr) {
        if (events_->table.version != 0) {
            spa_hook_remove(&events_->hook);
        }
        pw_stream_destroy(stream_);
        cycles_.load(std::memory_order_acquire);
    }
}

std::optional<GraphId> GraphStream::nodeId() const {
    const std::uint32_t id = pw_stream_get_node_id(stream_);
    return id == PW_ID_ANY ? std::nullopt : std::optional(id);
}

bool GraphStream::isStale(const Graph& graph) const {
    return graph.managerReturns != managerReturns_ &&
           std::ranges::none_of(graph.nodes, [&graph](const auto& entry) {
               const GraphNode& node = entry.second;
               return node.mediaClass().contains("Audio") && !AudioServer::isOwn(graph, node) &&
                      serialOf(node.properties) < graph.managerSerial;
           });
}

void GraphStream::awaitSettled(AudioServer& server, const std::unique_ptr<GraphStream>& stream) {
    if (stream == nullptr) {
        return;
    }
    // A stream that is destroyed while it is being set up leaks the descriptors that the server sends it
    // meanwhile.
    const auto age = std::chrono::steady_clock::now() - stream->made_;
    if (age < settlingTime) {
        server.waitUntil([&] { return stream == nullptr || server.core() == nullptr; },
                         std::chrono::ceil<std::chrono::milliseconds>(settlingTime - age));
    }
}

void GraphStream::processRt() noexcept {
    pw_buffer* buffer = pw_stream_dequeue_buffer(stream_);
    // The server has run out of buffers when the thread was late; the next cycle has one again.
    if (buffer == nullptr) {
        return;
    }
    pw_time time{};
    pw_stream_get_time_n(stream_, &time, sizeof time);
    spa_data& data = buffer->buffer->datas[0];
    if (data.data != nullptr) {
        if (capture_) {
            const std::uint32_t offset = std::min(data.chunk->offset, data.maxsize);
            const std::uint32_t bytes = std::min(data.chunk->size, data.maxsize - offset);
            const auto* samples =
                reinterpret_cast<const float*>(static_cast<const std::byte*>(data.data) + offset);
            handler_.receiveRt({samples, bytes / frameBytes_ * (frameBytes_ / sizeof(float))}, time.now);
        } else {
            std::uint64_t frames = data.maxsize / frameBytes_;
            if (buffer->requested != 0) {
                frames = std::min(frames, buffer->requested);
            }
            handler_.renderRt({static_cast<float*>(data.data), frames * (frameBytes_ / sizeof(float))},
                              time.now);
            data.chunk->offset = 0;
            data.chunk->stride = static_cast<std::int32_t>(frameBytes_);
            data.chunk->size = static_cast<std::uint32_t>(frames * frameBytes_);
        }
    }
    pw_stream_queue_buffer(stream_, buffer);
    cycles_.fetch_add(1, std::memory_order_release);
}

}  // namespace tarn
