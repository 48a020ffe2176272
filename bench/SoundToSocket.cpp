// From sound to socket: how long after the buffer that completes it a chunk of audio arrives, whole, at a
// service on this machine, and what the resampler's filter adds to that.
#include <CLI/CLI.hpp>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdio>
#include <memory>
#include <vector>

#include "Capture.h"
#include "Figures.h"
#include "RealtimeService.h"
#include "TarnCore/audio/AudioResampler.h"
#include "TarnCore/audio/ServiceAudio.h"
#include "TarnCore/realtime/QwenClient.h"
#include "TarnPlatform/audio/AudioConverter.h"
#include "TarnPlatform/base/EventQueue.h"
#include "support/RunTask.h"

namespace {

using namespace tarn::bench;
using namespace std::chrono_literals;
using tarn::Task;

constexpr auto bufferLength = 10ms;
constexpr int buffersPerChunk = 5;
constexpr int warmUpChunks = 10;  // the first pay for page faults and cold caches

struct Handover {
    SteadyClock::time_point time;
    int buffer;  ///< the one that completed the chunk, counted from 0
};

Task<std::vector<Handover>> feed(std::shared_ptr<tarn::QwenClient> client, boost::asio::io_context& context,
                                 int chunks) {
    const auto connected = co_await client->connect();
    if (!connected) {
        throw std::runtime_error(connected.error().description);
    }
    tarn::AudioResampler resampler;
    const auto buffer = capturedBuffer(static_cast<int>(bufferLength.count()));
    boost::asio::steady_timer timer(context);
    std::vector<Handover> handovers;
    std::size_t produced = 0;
    const auto begin = SteadyClock::now();
    for (int i = 0; std::ssize(handovers) < chunks; ++i) {
        timer.expires_at(begin + i * bufferLength);
        co_await timer.async_wait(tarn::asValue);
        const auto now = SteadyClock::now();
        auto bytes = resampler.process(buffer);
        if (!bytes) {
            continue;
        }
        produced += bytes->size();
        while (produced >= (handovers.size() + 1) * tarn::qwenChunkBytes) {
            handovers.push_back({now, i});
        }
        client->queueAudio(std::move(*bytes));
    }
    co_return handovers;
}

Task<std::vector<SteadyClock::time_point>> collect(tarn::EventQueue<SteadyClock::time_point> arrivals,
                                                   int count) {
    std::vector<SteadyClock::time_point> times;
    while (std::ssize(times) < count) {
        times.push_back(*co_await arrivals.next());
    }
    co_return times;
}

void measure(int chunks, bool secure) {
    const tarn::test::TestCertificates certificates;
    std::optional<tarn::test::TestCertificates::Identity> identity;
    if (secure) {
        identity = certificates.issue("DNS:localhost,IP:127.0.0.1");
    }
    const tarn::EventQueue<SteadyClock::time_point> arrivals;
    RealtimeService::Options options;
    options.onChunk = [arrivals](int) { arrivals.push(SteadyClock::now()); };
    const RealtimeService service(identity, options);
    boost::asio::io_context context(1);
    tarn::NetworkThread networkThread;
    const auto network = clientNetwork(networkThread.executor(), secure ? certificates.authorityFile() : "");
    const tarn::QwenConfig config("en", "es", std::nullopt, "none", 400);
    const auto client = std::make_shared<tarn::QwenClient>(
        clientUrl(secure, service.port()), "Bearer none", config, [](const std::vector<std::byte>&) {},
        [](tarn::TranscriptKind, const std::string&, bool) {}, nullptr, network);

    const int all = chunks + warmUpChunks;
    const auto limit = std::chrono::seconds(60) + all * 50ms;
    const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(limit);
    const auto handovers = tarn::test::runTask(context, feed(client, context, all), seconds);
    const auto times = tarn::test::runTask(context, collect(arrivals, all));
    tarn::test::runTask(context, client->close());

    std::vector<double> delays;
    int late = 0;
    for (int i = warmUpChunks; i < all; ++i) {
        const auto place = static_cast<std::size_t>(i);
        delays.push_back(
            std::chrono::duration<double, std::milli>(times[place] - handovers[place].time).count());
        late += handovers[place].buffer >= (i + 1) * buffersPerChunk ? 1 : 0;
    }
    const auto converter =
        tarn::AudioConverter::make(capturedBuffer(1).format(), tarn::AudioResampler().dstFormat());
    const double filter = 1000 * converter->delay();
    std::printf("%d chunks over %s, in ms:\n", chunks, secure ? "TLS" : "plain TCP");
    std::printf("  %-40s %8s %8s %8s\n", "", "median", "p95", "most");
    const auto row = [&](const char* name, double more) {
        std::printf("  %-40s %8.2f %8.2f %8.2f\n", name, median(delays) + more, quantile(delays, 0.95) + more,
                    quantile(delays, 1) + more);
    };
    row("last buffer handed over to arrival", 0);
    std::printf("  %-40s %8.2f (%.0f samples at 48 kHz)\n", "the resampler's filter", filter,
                filter * captureRate / 1000);
    row("sum", filter);
    std::printf("  chunks held back for a later buffer than the one with their last sample: %d\n", late);
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("The delay that resampler and client add to a chunk of audio");
    int chunks = 300;
    program.add_option("chunks", chunks, "chunks of 50 ms to measure")
        ->check(CLI::Range(1, 100000))
        ->capture_default_str();
    CLI11_PARSE(program, argc, argv);
    try {
        measure(chunks, false);
        measure(chunks, true);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "sound_to_socket: %s\n", error.what());
        return 1;
    }
}
