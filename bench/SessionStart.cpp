// From a session's start to its running, over the desktop's sound and a relay of this machine, and what share
// of it the connection takes.
#include <CLI/CLI.hpp>
#include <cstdio>

#include "Figures.h"
#include "SessionBed.h"
#include "TarnPlatform/base/Log.h"
#include "session/RelayFixture.h"
#include "support/Program.h"

namespace tarn::bench {
namespace {

constexpr double mostMedian = 0.150;

/// A client whose connecting is timed.
class TimedClient final : public TarnServerClient {
public:
    explicit TimedClient(std::shared_ptr<TarnServerClient> client) : client_(std::move(client)) {}
    std::vector<double> seconds;

    Task<ServerResult<UserAccount>> fetchMe() override { return client_->fetchMe(); }
    Task<ServerResult<EmptyResponse>> logout() override { return client_->logout(); }
    Task<ServerResult<std::shared_ptr<TarnTranslateStream>>> openTranslateStream(
        std::optional<std::string> sourceLang, std::string targetLang, std::optional<std::string> voice,
        std::string voiceClone, std::optional<int> silenceMs) override {
        const auto begin = SteadyClock::now();
        auto opened = co_await client_->openTranslateStream(
            std::move(sourceLang), std::move(targetLang), std::move(voice), std::move(voiceClone), silenceMs);
        seconds.push_back(secondsSince(begin));
        co_return opened;
    }

private:
    const std::shared_ptr<TarnServerClient> client_;
};

bool measure(SessionBed& bed, test::RelayFixture& relay, CaptureSource source, bool voiceProcessing,
             int rounds) {
    const auto session = bed.makeSession("session.0", bed.services());
    session->setCaptureSource(source);
    session->setVoiceProcessing(voiceProcessing);
    const auto client = std::make_shared<TimedClient>(relay.client());
    std::vector<double> starts;
    std::vector<double> stops;
    for (int i = 0; i < rounds + 1; ++i) {
        const auto begin = SteadyClock::now();
        session->start(1, 1, TranslateSession::Backend::server(client));
        bed.until("the start is decided", [&] { return session->state() != ConnectionState::connecting(); });
        if (session->state() != ConnectionState::running()) {
            throw std::runtime_error("the session did not start: " + session->state().reason());
        }
        starts.push_back(secondsSince(begin));
        bed.runFor(std::chrono::milliseconds(100));
        const auto end = SteadyClock::now();
        session->stop();
        bed.until("the session is idle", [&] { return session->state() == ConnectionState::idle(); });
        stops.push_back(secondsSince(end));
    }
    const double first = starts.front();
    starts.erase(starts.begin());  // makes the connection to the audio server, which stays
    client->seconds.erase(client->seconds.begin());
    const double middle = median(starts);
    std::printf(
        "%-7s %-5s start: median %6.1f ms, p99 %6.1f ms, first %6.1f ms; connecting %5.1f ms (%2.0f %%); "
        "stop: median %6.1f ms  %s\n",
        std::string(rawValue(source)).c_str(), voiceProcessing && source == CaptureSource::mic ? "voice" : "",
        1e3 * middle, 1e3 * quantile(starts, 0.99), 1e3 * first, 1e3 * median(client->seconds),
        100 * median(client->seconds) / middle, 1e3 * median(stops), middle < mostMedian ? "ok" : "TOO SLOW");
    return middle < mostMedian;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    using namespace tarn;
    using namespace tarn::bench;
    int rounds = 50;
    CLI::App app("Time from a session's start to its running; mark: median under 150 ms");
    app.add_option("--rounds", rounds, "starts of each kind")->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);
    setLogSink([](std::string_view) {});
    try {
        test::TemporaryFolder folder;
        test::RelayFixture relay(folder.path(), R"({"t":0,"event":{"type":"session.created"}})");
        SessionBed bed;  // its tasks hold connections, so it goes before the network does
        bool isGood = measure(bed, relay, CaptureSource::system, false, rounds);
        isGood = measure(bed, relay, CaptureSource::mic, false, rounds) && isGood;
        isGood = measure(bed, relay, CaptureSource::mic, true, rounds) && isGood;
        return isGood ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
