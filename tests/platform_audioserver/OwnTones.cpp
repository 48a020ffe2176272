#include "OwnTones.h"

#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <stdexcept>

#include "support/audio/Until.h"

namespace tarn::test {

void ToneSource::fillRt(std::span<float> stereo) noexcept {
    for (std::size_t i = 0; i + 1 < stereo.size(); i += 2) {
        const double turn = 2 * M_PI * frequency_ * static_cast<double>(frame_++) / 48000;
        stereo[i] = stereo[i + 1] = static_cast<float>(0.251189 * std::sin(turn));
    }
    cycles_.fetch_add(1, std::memory_order_relaxed);
}

void ToneSource::awaitCycles(int more) const {
    const int wanted = cycles_ + more;
    until("a tone of this process plays", [&] { return cycles_ >= wanted; });
}

OwnTone::OwnTone(AudioServer& server, double frequency) : server_(server), source_(frequency) {
    if (const auto reached = server_.snapshot(); !reached) {
        throw std::runtime_error(reached.error().description);
    }
    GraphStream::Description description;
    description.name = "own tone";
    description.rate = 48000;
    description.channels = {ChannelPosition::frontLeft, ChannelPosition::frontRight};
    description.autoconnect = true;
    const AudioServer::Lock lock(server_);
    auto stream = GraphStream::make(server_, description, *this);
    if (!stream) {
        throw std::runtime_error(stream.error().description);
    }
    stream_ = std::move(*stream);
}

OwnTone::~OwnTone() {
    const AudioServer::Lock lock(server_);
    stream_.reset();
}

struct ForeignTone::Stream {
    explicit Stream(double frequency) : source(frequency) {}

    ToneSource source;
    pw_thread_loop* loop = nullptr;
    pw_stream* stream = nullptr;
    pw_stream_events events{};

    static void process(void* data) {
        auto& self = *static_cast<Stream*>(data);
        if (pw_buffer* buffer = pw_stream_dequeue_buffer(self.stream)) {
            spa_data& bytes = buffer->buffer->datas[0];
            auto frames = bytes.maxsize / 8;
            if (buffer->requested != 0) {
                frames = std::min(frames, static_cast<std::uint32_t>(buffer->requested));
            }
            self.source.fillRt({static_cast<float*>(bytes.data), std::size_t{frames} * 2});
            bytes.chunk->offset = 0;
            bytes.chunk->stride = 8;
            bytes.chunk->size = frames * 8;
            pw_stream_queue_buffer(self.stream, buffer);
        }
    }
};

ForeignTone::ForeignTone(double frequency, State state) : stream_(std::make_unique<Stream>(frequency)) {
    stream_->loop = pw_thread_loop_new("foreign", nullptr);
    pw_thread_loop_lock(stream_->loop);
    pw_thread_loop_start(stream_->loop);
    stream_->events.version = PW_VERSION_STREAM_EVENTS;
    stream_->events.process = &Stream::process;
    stream_->stream = pw_stream_new_simple(
        pw_thread_loop_get_loop(stream_->loop), "foreign",
        pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", PW_KEY_MEDIA_CATEGORY, "Playback", nullptr),
        &stream_->events, stream_.get());
    spa_audio_info_raw format{};
    format.format = SPA_AUDIO_FORMAT_F32;
    format.rate = 48000;
    format.channels = 2;
    format.position[0] = SPA_AUDIO_CHANNEL_FL;
    format.position[1] = SPA_AUDIO_CHANNEL_FR;
    std::array<std::byte, 1024> memory{};
    spa_pod_builder builder{};
    spa_pod_builder_init(&builder, memory.data(), memory.size());
    const spa_pod* parameters[] = {spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format)};
    pw_stream_connect(
        stream_->stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
        static_cast<pw_stream_flags>(
            PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS | PW_STREAM_FLAG_RT_PROCESS |
            (state == State::paused ? PW_STREAM_FLAG_INACTIVE : PW_STREAM_FLAG_NONE)),
        parameters, 1);
    pw_thread_loop_unlock(stream_->loop);
}

ForeignTone::~ForeignTone() {
    pw_thread_loop_stop(stream_->loop);
    pw_stream_destroy(stream_->stream);
    pw_thread_loop_destroy(stream_->loop);
}

void ForeignTone::awaitCycles(int more) const {
    stream_->source.awaitCycles(more);
}

}  // namespace tarn::test
