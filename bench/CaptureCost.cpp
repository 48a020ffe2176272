// What one session's capture costs while another program plays: system capture, level, and resampling for the
// service, beside a recording program of the audio server.

#include <sys/resource.h>

#include <CLI/CLI.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdio>
#include <future>
#include <stdexcept>
#include <thread>

#include "ChildProcess.h"
#include "Figures.h"
#include "OtherProgram.h"
#include "PipeReader.h"
#include "TarnCore/audio/AudioResampler.h"
#include "TarnCore/audio/SystemAudioCapture.h"

namespace {

using namespace tarn::bench;

std::shared_ptr<tarn::CaptureStream> start(const std::shared_ptr<tarn::AudioSink>& sink) {
    std::shared_ptr<tarn::CaptureStream> stream;
    boost::asio::io_context context;
    boost::asio::co_spawn(
        context, tarn::startSystemAudioCapture(sink, std::nullopt),
        [&](const std::exception_ptr&, tarn::Result<std::shared_ptr<tarn::CaptureStream>> made) {
            if (!made) {
                throw std::runtime_error(made.error().description);
            }
            stream = std::move(*made);
        });
    context.run();
    return stream;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("What a session's capture costs");
    int seconds = 10;
    app.add_option("SECONDS", seconds, "how long it runs")->check(CLI::Range(2, 600));
    CLI11_PARSE(app, argc, argv);
    const ChildProcess player([](std::FILE*) {
        tarn::AudioServer server;
        const OtherProgram tone(server, OtherProgram::Plays::tone);
        for (;;) {
            std::this_thread::sleep_for(std::chrono::hours(1));
        }
    });
    const auto sink = std::make_shared<tarn::AudioSink>();
    tarn::AudioResampler resampler;
    std::size_t bytes = 0;
    float loudest = 0;
    sink->onPCM = [&](const tarn::PcmBuffer& buffer) {
        if (const auto converted = resampler.process(buffer)) {
            bytes += converted->size();
        }
    };
    sink->onLevel = [&](float level) { loudest = std::max(loudest, level); };
    const auto stream = start(sink);
    PipeReader peer({"pw-record", "--properties", "{ stream.capture.sink = true }", "--format", "f32",
                     "--rate", "48000", "--channels", "2", "-"},
                    [](std::span<const float>) {});
    const auto begin = SteadyClock::now();
    const double before = processorSeconds(RUSAGE_SELF);
    std::this_thread::sleep_for(std::chrono::seconds(seconds));
    const double used = processorSeconds(RUSAGE_SELF) - before;
    const double took = secondsSince(begin);
    const double usedByPeer = peer.stop();
    std::promise<void> stopped;
    stream->stopCapture([&](const tarn::Result<void>&) { stopped.set_value(); });
    stopped.get_future().wait();
    std::printf("%.1f s, %lld frames heard, loudest level %.3f, %zu bytes for the service\n", took,
                static_cast<long long>(sink->audioFrames()), static_cast<double>(loudest), bytes);
    std::printf("capture, level and resampling, and reading the peer's pipe: %.2f %% of a core\n",
                100 * used / took);
    std::printf("pw-record, which only writes what it hears to the pipe: %.2f %% of a core\n",
                100 * usedByPeer / took);
}
