// From a server's sending of a text event to the session's field: how late, in order, and whether all come.
#include <CLI/CLI.hpp>
#include <atomic>
#include <cstdio>

#include "Figures.h"
#include "SessionBed.h"
#include "TarnPlatform/base/Log.h"

namespace tarn::bench {
namespace {

constexpr double mostMedian = 1e-3;
constexpr double mostLate = 5e-3;
constexpr int window = 20000;

/// What one stream's server and reader share.
struct Traffic {
    std::atomic<int> sent{0};
    std::atomic<int> seen{0};
    std::vector<SteadyClock::time_point> sentAt;
    std::vector<double> late;
    int outOfOrder = 0;
};

void watch(TranslateSession& session, Traffic& traffic) {
    QObject::connect(&session, &TranslateSession::sourceTextChanged, &session, [&session, &traffic] {
        if (session.sourceText().empty()) {
            return;  // the start's
        }
        const int number = std::stoi(session.sourceText());
        const int expected = traffic.seen.load();
        if (number != expected) {
            ++traffic.outOfOrder;
        } else if (!traffic.sentAt.empty()) {
            traffic.late.push_back(secondsSince(traffic.sentAt[static_cast<std::size_t>(number)]));
        }
        traffic.seen = number + 1;
    });
}

/// One event every 10 ms to each client.
Task<void> sendSteadily(std::shared_ptr<ServerWebSocket> socket, Traffic& traffic, int count) {
    asio::steady_timer timer(socket->executor());
    auto due = SteadyClock::now();
    for (int i = 0; i < count; ++i) {
        due += std::chrono::milliseconds(10);
        timer.expires_at(due);
        co_await timer.async_wait(asValue);
        traffic.sentAt[static_cast<std::size_t>(i)] = SteadyClock::now();
        socket->send(sourceTextEvent(std::to_string(i)));
        traffic.sent = i + 1;
    }
    while (co_await socket->receive()) {
    }
}

/// As many as the client takes.
Task<void> sendAtOnce(std::shared_ptr<ServerWebSocket> socket, Traffic& traffic, int count) {
    asio::steady_timer timer(socket->executor());
    for (int i = 0; i < count; ++i) {
        while (i - traffic.seen > window) {
            timer.expires_after(std::chrono::milliseconds(1));
            co_await timer.async_wait(asValue);
        }
        socket->send(sourceTextEvent(std::to_string(i)));
        traffic.sent = i + 1;
    }
    while (co_await socket->receive()) {
    }
}

bool measureDelay(int seconds) {
    constexpr int streams = 4;
    const int count = seconds * 100;
    std::vector<Traffic> traffic(streams);
    for (auto& each : traffic) {
        each.sentAt.resize(static_cast<std::size_t>(count));
    }
    std::atomic<int> next{0};
    EventServer server([&](std::shared_ptr<ServerWebSocket> socket) {
        return sendSteadily(std::move(socket), traffic[static_cast<std::size_t>(next++)], count);
    });
    SessionBed bed;
    QuietSound sound;
    const auto services = bed.services(&sound);
    std::vector<std::shared_ptr<TranslateSession>> sessions;
    for (int i = 0; i < streams; ++i) {
        sessions.push_back(bed.makeSession("session." + std::to_string(i), services));
        watch(*sessions.back(), traffic[static_cast<std::size_t>(i)]);
        sessions.back()->start(1, 1, TranslateSession::Backend::server(server.client()));
        bed.until("the session runs", [&] { return sessions.back()->state() == ConnectionState::running(); });
    }
    bed.until(
        "all is seen",
        [&] { return std::ranges::all_of(traffic, [&](const Traffic& each) { return each.seen == count; }); },
        std::chrono::seconds(seconds + 60));
    std::vector<double> late;
    int outOfOrder = 0;
    for (const auto& each : traffic) {
        late.insert(late.end(), each.late.begin(), each.late.end());
        outOfOrder += each.outOfOrder;
    }
    for (const auto& session : sessions) {
        session->stop();
        bed.until("the session is idle", [&] { return session->state() == ConnectionState::idle(); });
    }
    const bool isGood = median(late) < mostMedian && quantile(late, 0.99) < mostLate && outOfOrder == 0;
    std::printf(
        "4 sessions, 100 events/s each, %zu events: median %.3f ms, p99 %.3f ms, longest %.1f ms, out of "
        "order %d  %s\n",
        late.size(), 1e3 * median(late), 1e3 * quantile(late, 0.99), 1e3 * quantile(late, 1), outOfOrder,
        isGood ? "ok" : "TOO LATE");
    return isGood;
}

bool countAll(int count) {
    Traffic traffic;
    EventServer server([&](std::shared_ptr<ServerWebSocket> socket) {
        return sendAtOnce(std::move(socket), traffic, count);
    });
    SessionBed bed;
    QuietSound sound;
    const auto session = bed.makeSession("session.0", bed.services(&sound));
    watch(*session, traffic);
    const auto begin = SteadyClock::now();
    session->start(1, 1, TranslateSession::Backend::server(server.client()));
    bed.until("all is seen", [&] { return traffic.seen == count; }, std::chrono::seconds(600));
    const double seconds = secondsSince(begin);
    session->stop();
    bed.until("the session is idle", [&] { return session->state() == ConnectionState::idle(); });
    const bool isGood = traffic.outOfOrder == 0 && traffic.seen == count;
    std::printf("%d events at once: %.1f s, %.0f events/s, %d seen, out of order %d  %s\n", count, seconds,
                count / seconds, traffic.seen.load(), traffic.outOfOrder,
                isGood ? "ok" : "LOST OR OUT OF ORDER");
    return isGood;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    int seconds = 10;
    int count = 1'000'000;
    CLI::App app("Delay and order of text events; marks: median under 1 ms, p99 under 5 ms, none lost");
    app.add_option("--seconds", seconds, "of the steady part")->check(CLI::PositiveNumber);
    app.add_option("--events", count, "sent at once")->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);
    tarn::setLogSink([](std::string_view) {});
    try {
        const bool inTime = tarn::bench::measureDelay(seconds);
        return tarn::bench::countAll(count) && inTime ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
