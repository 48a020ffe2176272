// A day's conversation of four sources, as fast as the machine goes: the sound of eight hours goes to the
// server, which answers with text and speech as a service does, and the speech is played. Time is counted in
// sound.
#include <CLI/CLI.hpp>
#include <atomic>
#include <boost/json/parse.hpp>
#include <cstdio>

#include "Figures.h"
#include "SessionBed.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/net/Base64.h"

namespace tarn::bench {
namespace {

constexpr int sources = 4;
constexpr int stepsPerSecond = 10;  // 100 ms each
constexpr int chunkBytes = 1600;    // of s16le at 16 kHz: 50 ms
constexpr int chunksAhead = 40;     // how far sound may run ahead of the answers
constexpr std::size_t mostGrowth = 1UZ << 20;

struct Source {
    std::shared_ptr<TranslateSession> session;
    std::atomic<int> chunksReceived{0};
    std::atomic<std::int64_t> textsSent{0};
    std::int64_t textsSeen = 0;
};

/// Speaks for 6 s of every 10, with a partial text every 200 ms and the speech behind it.
Task<void> answer(std::shared_ptr<ServerWebSocket> socket, Source& source, const std::string& speech) {
    std::string text;
    for (;;) {
        const auto message = co_await socket->receive();
        if (!message) {
            co_return;
        }
        if (!message->payload.contains("input_audio_buffer.append")) {
            continue;
        }
        const int chunk = ++source.chunksReceived;
        const int place = chunk % 200;
        if (place == 0) {
            text.clear();
        }
        if (place < 120 && chunk % 4 == 0) {
            text += "some words ";
            socket->send(sourceTextEvent(text));
            socket->send(R"({"type":"response.audio_transcript.text","text":")" + text + R"(","stash":""})");
            source.textsSent += 2;
        }
        if (place < 120 && chunk % 2 == 0) {
            socket->send(speech);
        }
    }
}

bool run(double hours) {
    std::vector<Source> all(sources);
    const std::string speech =
        R"({"type":"response.audio.delta","delta":")" + base64Encode(std::vector<std::byte>(4800)) + "\"}";
    std::atomic<int> next{0};
    EventServer server([&](std::shared_ptr<ServerWebSocket> socket) {
        return answer(std::move(socket), all[static_cast<std::size_t>(next++)], speech);
    });
    SessionBed bed;
    QuietSound sound;
    const auto services = bed.services(&sound);
    for (int i = 0; i < sources; ++i) {
        Source& source = all[static_cast<std::size_t>(i)];
        source.session = bed.makeSession("session." + std::to_string(i), services);
        const auto count = [&source] { ++source.textsSeen; };
        QObject::connect(source.session.get(), &TranslateSession::translationTextChanged,
                         source.session.get(), count);
        QObject::connect(source.session.get(), &TranslateSession::sourceTextChanged, source.session.get(),
                         count);
        source.session->start(1, 1, TranslateSession::Backend::server(server.client()));
        bed.until("the session runs", [&] { return source.session->state() == ConnectionState::running(); });
        source.textsSeen = 0;  // the start's own
    }
    auto captured = PcmBuffer::make({CommonFormat::float32, 48000, 2, false, std::nullopt}, 480).value();
    captured.setFrameLength(480);

    const auto begin = SteadyClock::now();
    const auto steps = static_cast<std::int64_t>(hours * 3600 * stepsPerSecond);
    std::size_t afterAMinute = 0;
    std::size_t highest = 0;
    for (std::int64_t step = 1; step <= steps; ++step) {
        for (Source& source : all) {
            const auto sink = source.session->sink();
            for (int i = 0; i < 10; ++i) {
                sink->onPCM(captured);
                sink->onLevel(0.1F);
            }
        }
        sound.render(2400);
        bed.main.restart();
        bed.main.poll();
        const auto due = static_cast<int>(step * 3200 / chunkBytes) - chunksAhead;
        bed.until("the sound has come", [&] {
            return std::ranges::all_of(all,
                                       [due](const Source& source) { return source.chunksReceived >= due; });
        });
        if (step % (60 * stepsPerSecond) == 0) {
            // With nothing on its way, so that what is counted is what stays.
            bed.until("the sound has come", [&] {
                return std::ranges::all_of(
                    all, [step](const Source& source) { return source.chunksReceived >= step * 2 - 1; });
            });
            bed.until("the texts are seen", [&] {
                return std::ranges::all_of(
                    all, [](const Source& source) { return source.textsSeen >= source.textsSent; });
            });
            bed.runFor(std::chrono::milliseconds(20));
            sound.render(5UZ * 24000);
            const std::size_t now = heapInUse();
            if (afterAMinute == 0) {
                afterAMinute = now;
            }
            highest = std::max(highest, now);
            if (step % (3600 * stepsPerSecond) == 0) {
                std::printf("hour %2lld: heap %.2f MiB\n",
                            static_cast<long long>(step / (3600 * stepsPerSecond)),
                            static_cast<double>(now) / (1 << 20));
            }
        }
    }
    bool nothingLost = true;
    for (Source& source : all) {
        bed.until("the sound has come",
                  [&] { return source.chunksReceived >= static_cast<int>(steps * 2) - 1; });
        bed.until("the texts are seen", [&] { return source.textsSeen >= source.textsSent; });
        nothingLost = nothingLost && source.textsSeen == source.textsSent;
        source.session->stop();
        bed.until("the session is idle", [&] { return source.session->state() == ConnectionState::idle(); });
    }
    const auto growth = static_cast<std::int64_t>(highest) - static_cast<std::int64_t>(afterAMinute);
    const bool isGood = growth < static_cast<std::int64_t>(mostGrowth) && nothingLost;
    std::printf(
        "%.2f h of %d sources in %.0f s: heap after a minute %.2f MiB, highest %+.3f MiB, %lld texts, all "
        "seen: %s  %s\n",
        hours, sources, secondsSince(begin), static_cast<double>(afterAMinute) / (1 << 20),
        static_cast<double>(growth) / (1 << 20),
        static_cast<long long>(all[0].textsSent + all[1].textsSent + all[2].textsSent + all[3].textsSent),
        nothingLost ? "yes" : "NO", isGood ? "ok" : "GROWS");
    return isGood;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    double hours = 8;
    CLI::App app(
        "Eight hours of four sources, quickly; mark: heap within 1 MiB of what it is after a minute");
    app.add_option("--hours", hours)->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);
    tarn::setLogSink([](std::string_view) {});
    try {
        return tarn::bench::run(hours) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
