// What libpipewire keeps of streams that end early: stream_leftovers [STREAMS] [MILLISECONDS that each
// lives].
#include <malloc.h>
#include <pipewire/pipewire.h>
#include <spa/param/audio/format-utils.h>

#include <array>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <thread>

int main(int argc, char** argv) {
    const int streams = argc > 1 ? std::atoi(argv[1]) : 200;
    const std::chrono::milliseconds life(argc > 2 ? std::atoi(argv[2]) : 10);
    pw_init(nullptr, nullptr);
    pw_thread_loop* const loop = pw_thread_loop_new("streams", nullptr);
    pw_context* const context = pw_context_new(pw_thread_loop_get_loop(loop), nullptr, 0);
    pw_thread_loop_start(loop);
    pw_thread_loop_lock(loop);
    pw_core* const core = pw_context_connect(context, nullptr, 0);
    const auto pause = [loop](auto time) {
        pw_thread_loop_unlock(loop);
        std::this_thread::sleep_for(time);
        pw_thread_loop_lock(loop);
    };
    for (int i = 0; core != nullptr && i <= streams; ++i) {
        if (i % (streams / 4) == 0) {
            pause(std::chrono::seconds(1));
            const auto open = std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
            std::printf("%d streams: %td descriptors, %zu KiB of heap\n", i, open,
                        ::mallinfo2().uordblks >> 10);
        }
        std::array<std::byte, 1024> space;
        spa_pod_builder builder = SPA_POD_BUILDER_INIT(space.data(), space.size());
        spa_audio_info_raw format{};
        format.format = SPA_AUDIO_FORMAT_F32;
        format.rate = 48000;
        format.channels = 1;
        const spa_pod* parameter = spa_format_audio_raw_build(&builder, SPA_PARAM_EnumFormat, &format);
        pw_stream* const stream =
            pw_stream_new(core, "early", pw_properties_new(PW_KEY_MEDIA_TYPE, "Audio", nullptr));
        pw_stream_connect(
            stream, PW_DIRECTION_OUTPUT, PW_ID_ANY,
            static_cast<pw_stream_flags>(PW_STREAM_FLAG_AUTOCONNECT | PW_STREAM_FLAG_MAP_BUFFERS), &parameter,
            1);
        pause(life);
        pw_stream_destroy(stream);
    }
    pw_thread_loop_unlock(loop);
    pw_thread_loop_stop(loop);
    pw_context_destroy(context);
    pw_thread_loop_destroy(loop);
}
