// What running sessions cost: several realtime clients, each fed captured audio in real time through a
// resampler of its own, while a service in another process talks back at the pace of a busy one.
#include <malloc.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <atomic>
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdio>
#include <fstream>
#include <memory>
#include <vector>

#include "Capture.h"
#include "ChildProcess.h"
#include "Figures.h"
#include "RealtimeService.h"
#include "TarnCore/audio/AudioResampler.h"
#include "TarnCore/realtime/QwenClient.h"

namespace {

using namespace tarn::bench;
using namespace std::chrono_literals;
using tarn::Task;

constexpr auto bufferLength = 20ms;

struct Received {
    std::atomic<long> texts{0};
    std::atomic<long> audioBytes{0};
};

/// Runs the service until this process ends it; writes its port, and a line for every stream that has ended.
void playService(const std::optional<tarn::test::TestCertificates::Identity>& identity, std::FILE* out) {
    RealtimeService::Options options;
    options.speaks = true;
    options.onEnd = [out](const StreamFindings& found) {
        std::fprintf(out, "%d %d %d %d %d\n", found.chunks, found.wrongSize, found.outOfOrder,
                     found.notUnderstood, found.eventsSent);
    };
    const RealtimeService service(identity, options);
    std::fprintf(out, "%d\n", service.port());
    for (;;) {
        ::pause();
    }
}

double residentMegabytes() {
    std::ifstream file("/proc/self/statm");
    long whole = 0;
    long resident = 0;
    file >> whole >> resident;
    return static_cast<double>(resident) * static_cast<double>(::sysconf(_SC_PAGESIZE)) / 1e6;
}

double heapMegabytes() {
    const auto heap = ::mallinfo2();
    return static_cast<double>(heap.uordblks + heap.hblkhd) / 1e6;
}

/// One session's sound: a buffer every 20 ms, on time, resampled and given to the client.
Task<void> feed(std::shared_ptr<tarn::QwenClient> client, boost::asio::io_context& context,
                SteadyClock::time_point begin, int buffers) {
    tarn::AudioResampler resampler;
    const auto buffer = capturedBuffer(static_cast<int>(bufferLength.count()));
    boost::asio::steady_timer timer(context);
    for (int i = 0; i < buffers; ++i) {
        timer.expires_at(begin + i * bufferLength);
        co_await timer.async_wait(tarn::asValue);
        auto bytes = resampler.process(buffer);
        if (bytes) {
            co_await client->sendAudio(std::move(*bytes));
        }
    }
}

Task<void> connectAll(std::vector<std::shared_ptr<tarn::QwenClient>> clients) {
    for (const auto& client : clients) {
        const auto connected = co_await client->connect();
        if (!connected) {
            throw std::runtime_error(connected.error().description);
        }
    }
}

Task<void> closeAll(std::vector<std::shared_ptr<tarn::QwenClient>> clients) {
    for (const auto& client : clients) {
        co_await client->close();
    }
}

void runAll(boost::asio::io_context& context, Task<void> task) {
    boost::asio::co_spawn(context, std::move(task), [](const std::exception_ptr& exception) {
        if (exception) {
            std::rethrow_exception(exception);
        }
    });
    context.restart();
    context.run();
}

int measure(int seconds, int sessions, bool secure) {
    const tarn::test::TestCertificates certificates;
    std::optional<tarn::test::TestCertificates::Identity> identity;
    if (secure) {
        identity = certificates.issue("DNS:localhost,IP:127.0.0.1");
    }
    ChildProcess service([&](std::FILE* out) { playService(identity, out); });
    const auto port = static_cast<std::uint16_t>(std::stoi(service.readLine()));

    boost::asio::io_context context(1);
    tarn::NetworkThread networkThread;
    const auto network = clientNetwork(networkThread.executor(), secure ? certificates.authorityFile() : "");
    Received received;
    const tarn::QwenConfig config("en", "es", std::nullopt, "none", 400);
    std::vector<std::shared_ptr<tarn::QwenClient>> clients;
    clients.reserve(static_cast<std::size_t>(sessions));
    for (int i = 0; i < sessions; ++i) {
        clients.push_back(std::make_shared<tarn::QwenClient>(
            clientUrl(secure, port), "Bearer none", config,
            [&received](const std::vector<std::byte>& pcm) {
                received.audioBytes += static_cast<long>(pcm.size());
            },
            [&received](tarn::TranscriptKind, const std::string&, bool) { ++received.texts; }, nullptr,
            network));
    }
    runAll(context, connectAll(clients));

    const double processorBefore = processorSeconds(RUSAGE_SELF);
    const double feedersBefore = processorSeconds(RUSAGE_THREAD);
    const auto begin = SteadyClock::now();
    // The sessions' buffers fall at different moments, as those of different applications do.
    for (int i = 0; i < sessions; ++i) {
        boost::asio::co_spawn(
            context,
            feed(clients[static_cast<std::size_t>(i)], context, begin + i * bufferLength / sessions,
                 static_cast<int>(std::chrono::seconds(seconds) / bufferLength)),
            boost::asio::detached);
    }
    double earlyResident = 0;
    double earlyHeap = 0;
    const auto early = std::min(10, (seconds + 1) / 2);
    boost::asio::steady_timer earlyTimer(context, begin + std::chrono::seconds(early));
    earlyTimer.async_wait([&](const boost::system::error_code&) {
        earlyResident = residentMegabytes();
        earlyHeap = heapMegabytes();
    });
    context.restart();
    context.run();
    const double elapsed = secondsSince(begin);
    const double processor = processorSeconds(RUSAGE_SELF) - processorBefore;
    const double feeders = processorSeconds(RUSAGE_THREAD) - feedersBefore;
    const double lateResident = residentMegabytes();
    const double lateHeap = heapMegabytes();
    runAll(context, closeAll(clients));

    StreamFindings sum;
    for (int i = 0; i < sessions; ++i) {
        StreamFindings found;
        if (std::sscanf(service.readLine().c_str(), "%d %d %d %d %d", &found.chunks, &found.wrongSize,
                        &found.outOfOrder, &found.notUnderstood, &found.eventsSent) != 5) {
            throw std::runtime_error("the service's report makes no sense");
        }
        sum.chunks += found.chunks;
        sum.wrongSize += found.wrongSize;
        sum.outOfOrder += found.outOfOrder;
        sum.notUnderstood += found.notUnderstood;
        sum.eventsSent += found.eventsSent;
    }
    std::printf("%d sessions over %s for %.1f s\n", sessions, secure ? "TLS" : "plain TCP", elapsed);
    std::printf(
        "  processor        %.2f %% of one core (feeding and resampling %.2f %%, the clients %.2f %%)\n",
        100 * processor / elapsed, 100 * feeders / elapsed, 100 * (processor - feeders) / elapsed);
    std::printf("  resident memory  %.2f MB after %d s, %.2f MB at the end\n", earlyResident, early,
                lateResident);
    std::printf("  heap in use      %.3f MB after %d s, %.3f MB at the end\n", earlyHeap, early, lateHeap);
    std::printf(
        "  audio chunks     %d received by the service; %d not of 1600 bytes, %d out of order; other "
        "messages not understood: %d\n",
        sum.chunks, sum.wrongSize, sum.outOfOrder, sum.notUnderstood);
    std::printf("  events           %d sent by the service; here %ld texts and %.1f s of audio\n",
                sum.eventsSent, received.texts.load(),
                static_cast<double>(received.audioBytes.load()) / 48000);
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App program("Processor and memory of realtime clients that stream in real time");
    int seconds = 60;
    int sessions = 4;
    bool plain = false;
    program.add_option("seconds", seconds, "how long")->check(CLI::Range(1, 86400))->capture_default_str();
    program.add_option("--sessions", sessions, "clients at once")
        ->check(CLI::Range(1, 64))
        ->capture_default_str();
    program.add_flag("--plain", plain, "without TLS");
    CLI11_PARSE(program, argc, argv);
    try {
        return measure(seconds, sessions, !plain);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "client_upkeep: %s\n", error.what());
        return 1;
    }
}
