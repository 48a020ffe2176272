// The realtime client and its WebSocket against a second WebSocket client, over loopback TLS, to the same
// server in a process of its own: appends sent and events received per second, the way there and back, and
// what each costs the client's process. The clients take turns, so that a busy machine is busy for all of
// them.
#include <boost/asio/co_spawn.hpp>
#include <boost/asio/detached.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/steady_timer.hpp>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "ChildProcess.h"
#include "Figures.h"
#include "FrameServer.h"
#include "LwsClient.h"
#include "SampleEvents.h"
#include "TarnCore/realtime/EventProtocol.h"
#include "TarnCore/realtime/QwenClient.h"
#include "support/RunTask.h"
#include "support/TestCertificates.h"

namespace {

using namespace tarn::bench;
using tarn::Result;
using tarn::Task;

constexpr int rounds = 7;
constexpr std::size_t chunkBytes = 1600;
const tarn::QwenConfig config{"en", "es", std::nullopt, "none", 400};

/// One job: so many audio events sent, each only after the answer to the one before where `lockstep`, and so
/// many events received.
struct Job {
    int appends;
    int events;
    bool lockstep;
    std::string path;
};

struct Outcome {
    double seconds = 0;
    double processor = 0;            ///< seconds
    std::vector<double> roundTrips;  ///< seconds, of a job in lockstep
};

/// Measures from its making on.
class Watch {
public:
    void stop(Outcome& outcome) const {
        outcome.seconds = secondsSince(begin_);
        outcome.processor = processorSeconds(RUSAGE_SELF) - processor_;
    }

private:
    double processor_ = processorSeconds(RUSAGE_SELF);
    SteadyClock::time_point begin_ = SteadyClock::now();
};

/// Counts the events of a client and wakes the one who waits for them; all on one thread.
class Arrivals {
public:
    explicit Arrivals(boost::asio::io_context& context) : bell_(context, SteadyClock::time_point::max()) {}
    void add() {
        if (++count_ == awaited_) {
            bell_.cancel();
        }
    }
    Task<void> reach(int count) {
        awaited_ = count;
        while (count_ < count) {
            co_await bell_.async_wait(tarn::asValue);
        }
    }

private:
    int count_ = 0;
    int awaited_ = 0;
    boost::asio::steady_timer bell_;
};

struct Site {
    std::string authorityFile;
    std::uint16_t port;

    tarn::Url url(const std::string& path) const {
        return tarn::Url::parse("wss://localhost:" + std::to_string(port) + path).value();
    }
    tarn::NetworkContext network(boost::asio::io_context& context) const {
        return {context.get_executor(), tarn::Clock::system(), tarn::ProxySettings(),
                tarn::TlsTrust::fromFile(authorityFile).value()};
    }
};

void check(const Result<void>& result) {
    if (!result) {
        throw std::runtime_error(result.error().description);
    }
}

/// `send` sends one append and is done when it has left.
template <typename Send>
Task<void> carryOutJob(const Job& job, Arrivals& arrivals, Outcome& outcome, Send& send) {
    const Watch whole;
    for (int i = 0; i < job.appends; ++i) {
        const auto begin = SteadyClock::now();
        co_await send();
        if (job.lockstep) {
            co_await arrivals.reach(i + 1);
            outcome.roundTrips.push_back(secondsSince(begin));
        }
    }
    co_await arrivals.reach(job.events);
    whole.stop(outcome);
}

Task<void> useQwenClient(const Site& site, boost::asio::io_context& context, const Job& job,
                         Outcome& outcome) {
    Arrivals arrivals(context);
    const auto client = std::make_shared<tarn::QwenClient>(
        site.url(job.path), "Bearer none", config,
        [&arrivals](const std::vector<std::byte>&) { arrivals.add(); },
        [&arrivals](tarn::TranscriptKind, const std::string&, bool) { arrivals.add(); }, nullptr,
        site.network(context));
    const auto connected = co_await client->connect();
    check(connected);
    const auto chunk = sampleBytes(chunkBytes);
    auto send = [&] { return client->sendAudio(chunk); };
    co_await carryOutJob(job, arrivals, outcome, send);
    co_await client->close();
}

Task<void> receiveAll(std::shared_ptr<tarn::WebSocketTask> socket, std::shared_ptr<Arrivals> arrivals) {
    for (;;) {
        const auto message = co_await socket->receive();
        if (!message) {
            co_return;
        }
        arrivals->add();
    }
}

Task<void> sendText(tarn::WebSocketTask& socket, const std::string& text) {
    const auto sent = co_await socket.send(text);
    check(sent);
}

Task<void> useWebSocketTask(const Site& site, boost::asio::io_context& context, const Job& job,
                            Outcome& outcome) {
    const auto arrivals = std::make_shared<Arrivals>(context);
    tarn::WebSocketRequest request;
    request.url = site.url(job.path);
    const auto socket =
        tarn::WebSocketTask::make(context.get_executor(), std::move(request), site.network(context));
    const auto opened = co_await socket->resume();
    check(opened);
    co_await sendText(*socket, tarn::sessionUpdateEvent("evt_init_1", config));
    boost::asio::co_spawn(context, receiveAll(socket, arrivals), boost::asio::detached);
    const auto text = tarn::audioAppendEvent("evt_a_123456", sampleBytes(chunkBytes));
    auto send = [&] { return sendText(*socket, text); };
    co_await carryOutJob(job, *arrivals, outcome, send);
    socket->cancel(tarn::closeGoingAway);
    co_await socket->waitClosed();
}

using Use = Task<void> (*)(const Site&, boost::asio::io_context&, const Job&, Outcome&);

Outcome runOurs(const Site& site, const Job& job, Use use) {
    boost::asio::io_context context(1);
    Outcome outcome;
    tarn::test::runTask(context, use(site, context, job, outcome), std::chrono::seconds(120));
    return outcome;
}

/// `whole`: with the JSON, base64 and callbacks that the realtime client has, done by the same code;
/// otherwise ready texts are sent and messages counted.
Outcome runLws(const Site& site, const Job& job, bool whole) {
    LwsClient client(site.authorityFile, site.port, job.path);
    int arrived = 0;
    tarn::ServerEventHandler handler([&](const std::vector<std::byte>&) { ++arrived; },
                                     [&](tarn::TranscriptKind, const std::string&, bool) { ++arrived; },
                                     nullptr);
    const auto chunk = sampleBytes(chunkBytes);
    const auto ready = tarn::audioAppendEvent("evt_a_123456", chunk);
    Outcome outcome;
    int sent = -1;
    SteadyClock::time_point begin;
    const LwsClient::Source source = [&]() -> std::string {
        if (sent == -1) {
            ++sent;
            return tarn::sessionUpdateEvent("evt_init_1", config);
        }
        if (sent >= job.appends || (job.lockstep && sent > arrived)) {
            return {};
        }
        begin = SteadyClock::now();
        ++sent;
        return whole ? tarn::audioAppendEvent("evt_a_" + std::to_string(sent), std::vector(chunk)) : ready;
    };
    const LwsClient::Sink sink = [&](std::string_view message) {
        if (whole) {
            handler.handle(message);
        } else {
            ++arrived;
        }
        if (job.lockstep) {
            outcome.roundTrips.push_back(secondsSince(begin));
        }
    };
    const Watch watch;
    client.run(source, sink, [&] { return arrived >= job.events; });
    watch.stop(outcome);
    return outcome;
}

struct Client {
    std::string name;
    std::function<Outcome(const Job&)> run;
};

/// Runs the clients in turn and prints the medians; the later client of each pair is the peer of the one
/// before.
void report(const std::string& title, const std::vector<Client>& clients, const Job& job, int operations) {
    std::map<std::string, std::vector<double>> rates;
    std::map<std::string, std::vector<double>> costs;
    std::map<std::string, std::vector<double>> trips;
    for (int round = 0; round < rounds; ++round) {
        for (const auto& client : clients) {
            const auto outcome = client.run(job);
            rates[client.name].push_back(operations / outcome.seconds);
            costs[client.name].push_back(outcome.processor / operations * 1e6);
            trips[client.name].insert(trips[client.name].end(), outcome.roundTrips.begin(),
                                      outcome.roundTrips.end());
        }
    }
    std::printf("\n%-46s %12s %16s%s\n", title.c_str(), "per second", "processor, us",
                job.lockstep ? "   median, us      p95, us" : "");
    for (const auto& client : clients) {
        std::printf("  %-44s %12.0f %16.1f", client.name.c_str(), median(rates[client.name]),
                    median(costs[client.name]));
        if (job.lockstep) {
            std::printf(" %12.1f %12.1f", 1e6 * median(trips[client.name]),
                        1e6 * quantile(trips[client.name], 0.95));
        }
        std::printf("\n");
    }
    for (std::size_t i = 0; i + 1 < clients.size(); i += 2) {
        const auto& ours = clients[i].name;
        const auto& peer = clients[i + 1].name;
        std::printf("  %s / peer: rate %.2f, processor %.2f", ours.c_str(),
                    median(rates[ours]) / median(rates[peer]), median(costs[ours]) / median(costs[peer]));
        if (job.lockstep) {
            std::printf(", round trip %.2f", median(trips[ours]) / median(trips[peer]));
        }
        std::printf("\n");
    }
    std::fflush(stdout);
}

}  // namespace

int main() {
    const tarn::test::TestCertificates certificates;
    const auto identity = certificates.issue("DNS:localhost,IP:127.0.0.1");
    ChildProcess server([&](std::FILE* out) { serveFrames(identity, out); });
    const Site site{certificates.authorityFile(), static_cast<std::uint16_t>(std::stoi(server.readLine()))};

    const std::vector<Client> clients{
        {"QwenClient", [&](const Job& job) { return runOurs(site, job, useQwenClient); }},
        {"libwebsockets with the same events' work", [&](const Job& job) { return runLws(site, job, true); }},
        {"WebSocketTask", [&](const Job& job) { return runOurs(site, job, useWebSocketTask); }},
        {"libwebsockets", [&](const Job& job) { return runLws(site, job, false); }},
    };
    constexpr int many = 20000;
    constexpr int trips = 3000;
    report("audio appends sent", clients, {many, 1, false, frameServerPath(many, 1)}, many);
    report("events received", clients, {1, many, false, frameServerPath(1, many)}, many);
    report("one append, one event", clients, {trips, trips, true, frameServerPath(1, 1)}, trips);
}
