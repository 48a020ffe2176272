// How late a capture hears what another program plays, beside the recording programs of the audio server, and
// whether the other program's sound suffers: a player in a process of its own puts clicks into the graph.

#include <CLI/CLI.hpp>
#include <algorithm>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <cstdio>
#include <future>
#include <mutex>
#include <stdexcept>
#include <thread>

#include "ChildProcess.h"
#include "Figures.h"
#include "OtherProgram.h"
#include "PipeReader.h"
#include "TarnCore/audio/SystemAudioCapture.h"
#include "support/audio/Measure.h"

namespace {

using namespace tarn::bench;

/// When clicks were heard.
class Ear {
public:
    void hear(std::span<const float> samples, std::size_t stride) {
        const auto now = monotonicNow();
        const std::lock_guard lock(mutex_);
        for (std::size_t i = 0; i < samples.size(); i += stride) {
            if (samples[i] > 0.3F && now - last_ > 150'000'000) {
                last_ = now;
                times_.push_back(now);
            }
        }
    }

    std::vector<std::int64_t> times() const {
        const std::lock_guard lock(mutex_);
        return times_;
    }

private:
    mutable std::mutex mutex_;
    std::int64_t last_ = 0;
    std::vector<std::int64_t> times_;
};

void printRow(const char* name, const std::vector<std::int64_t>& played,
              const std::vector<std::int64_t>& heard) {
    std::vector<double> delays;
    for (const auto click : played) {
        const auto found = std::ranges::lower_bound(heard, click);
        if (found != heard.end() && *found - click < 290'000'000) {
            delays.push_back(static_cast<double>(*found - click) * 1e-6);
        }
    }
    if (delays.empty()) {
        std::printf("| %s | none of %zu heard | | |\n", name, played.size());
        return;
    }
    std::printf("| %s | %.2f | %.2f | %zu of %zu |\n", name, median(delays), quantile(delays, 0.99),
                delays.size(), played.size());
}

struct Started {
    std::shared_ptr<tarn::AudioSink> sink = std::make_shared<tarn::AudioSink>();
    std::shared_ptr<tarn::CaptureStream> stream;

    void start() {
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
    }
    void stop() {
        std::promise<void> stopped;
        stream->stopCapture([&](const tarn::Result<void>&) { stopped.set_value(); });
        stopped.get_future().wait();
        stream.reset();
    }
};

void measureDelay(int seconds) {
    ChildProcess player([seconds](std::FILE* out) {
        tarn::AudioServer server;
        const OtherProgram clicker(server, OtherProgram::Plays::clicks);
        std::this_thread::sleep_for(std::chrono::seconds(seconds));
        for (const auto time : clicker.clicks()) {
            std::fprintf(out, "%lld\n", static_cast<long long>(time));
        }
        std::fprintf(out, "cycle %zu\n", clicker.cycleFrames());
    });
    Ear ours;
    Ear recordEar;
    Ear parecEar;
    Started capture;
    capture.sink->onPCM = [&](const tarn::PcmBuffer& buffer) {
        ours.hear({buffer.floatChannelData(), buffer.frameLength()}, 1);
    };
    capture.start();
    PipeReader record({"pw-record", "--properties", "{ stream.capture.sink = true }", "--format", "f32",
                       "--rate", "48000", "--channels", "2", "-"},
                      [&](auto samples) { recordEar.hear(samples, 2); });
    PipeReader parec({"parec", "--device=@DEFAULT_MONITOR@", "--format=float32le", "--rate=48000",
                      "--channels=2", "--latency-msec=20", "--raw"},
                     [&](auto samples) { parecEar.hear(samples, 2); });
    std::vector<std::int64_t> played;
    std::string line = player.readLine();
    for (; !line.starts_with("cycle"); line = player.readLine()) {
        played.push_back(std::stoll(line));
    }
    record.stop();
    parec.stop();
    capture.stop();
    // Those before the recorders ran count for nobody.
    const auto first = std::ranges::max({ours.times().empty() ? 0 : ours.times().front(),
                                         recordEar.times().empty() ? 0 : recordEar.times().front(),
                                         parecEar.times().empty() ? 0 : parecEar.times().front()});
    std::erase_if(played, [&](auto time) { return time < first; });
    std::printf(
        "graph %s frames\n| from the player's cycle to | median, ms | 99 %%, ms | clicks "
        "|\n|---|---|---|---|\n",
        line.c_str());
    printRow("our callback", played, ours.times());
    printRow("pw-record of the monitor, its pipe", played, recordEar.times());
    printRow("parec of the monitor, 20 ms asked, its pipe", played, parecEar.times());
}

void measureDisturbance(int rounds) {
    ChildProcess player([rounds](std::FILE*) {
        tarn::AudioServer server;
        const OtherProgram tone(server, OtherProgram::Plays::tone);
        std::this_thread::sleep_for(std::chrono::seconds(rounds + 3));
    });
    std::vector<float> heard;
    PipeReader record(
        {"pw-record", "--properties", "{ stream.capture.sink = true }", "--format", "f32", "--rate", "48000",
         "--channels", "2", "-"},
        [&](std::span<const float> samples) { heard.insert(heard.end(), samples.begin(), samples.end()); });
    std::this_thread::sleep_for(std::chrono::seconds(1));
    for (int round = 0; round < rounds; ++round) {
        Started capture;
        capture.start();
        std::this_thread::sleep_for(std::chrono::milliseconds(500));
        capture.stop();
    }
    record.stop();
    const auto left = tarn::test::channelOf(heard, 2, 0);
    const auto steady = tarn::test::withoutSilence(left, 48000);
    std::printf("another program's tone over %d captures: %.1f s recorded, largest phase jump %.4f rad\n",
                rounds, static_cast<double>(steady.size()) / 48000,
                tarn::test::largestJump(steady, 440, 48000));
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App app("How late a capture hears another program");
    int seconds = 60;
    int rounds = 10;
    app.add_option("SECONDS", seconds, "how long clicks are played")->check(CLI::Range(5, 600));
    app.add_option("ROUNDS", rounds, "captures started and stopped beside a tone")->check(CLI::Range(1, 100));
    CLI11_PARSE(app, argc, argv);
    // Each child before this process has threads: the second measurement in a process of its own.
    {
        ChildProcess disturbance([rounds](std::FILE*) {
            measureDisturbance(rounds);
            std::fflush(stdout);
        });
        try {
            for (;;) {
                disturbance.readLine();
            }
        } catch (const std::exception&) {
        }
    }
    measureDelay(seconds);
}
