// What several sessions of one source cost: a language each, while another program plays. The whole process
// is measured, with captures, dubs and connections; the relay and the other program are in one of their own.
#include <CLI/CLI.hpp>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <thread>

#include "ChildProcess.h"
#include "Figures.h"
#include "OtherProgram.h"
#include "SessionBed.h"
#include "TarnPlatform/base/Log.h"
#include "session/RelayFixture.h"
#include "support/Program.h"

namespace tarn::bench {
namespace {

using namespace std::chrono_literals;

/// A number of a file of /proc/self, in the line that begins with `name`.
double ownFigure(const char* file, const std::string& name) {
    std::ifstream lines(std::string("/proc/self/") + file);
    for (std::string line; std::getline(lines, line);) {
        if (line.starts_with(name)) {
            return std::stod(line.substr(name.size()));
        }
    }
    throw std::runtime_error("no " + name + " in " + file);
}

struct Cost {
    double processor = 0;  ///< of a core
    double memory = 0;     ///< MiB: RssAnon
    double threads = 0;
};

Cost measure(const std::string& port, const std::string& token, CaptureSource source, bool processed,
             int count, int seconds) {
    SessionBed bed;
    const auto services = bed.services();
    const auto client = std::make_shared<RealTarnServerClient>(
        Url::parse("http://127.0.0.1:" + port + "/tarn").value(), fixedPat(token));
    std::vector<std::shared_ptr<TranslateSession>> sessions;
    for (int i = 0; i < count; ++i) {
        sessions.push_back(bed.makeSession("session." + std::to_string(i), services));
        sessions.back()->setCaptureSource(source);
        sessions.back()->setApplicationBundleID("same_source");
        sessions.back()->setVoiceProcessing(processed);
        sessions.back()->start(1, 1, TranslateSession::Backend::server(client));
    }
    bed.until("all run", [&] {
        return std::ranges::all_of(sessions, [](const auto& session) {
            if (session->state().kind() == ConnectionState::Case::error) {
                throw std::runtime_error(session->state().reason());
            }
            return session->state() == ConnectionState::running();
        });
    });
    bed.runFor(3s);
    const auto begin = SteadyClock::now();
    const double before = processorSeconds(RUSAGE_SELF);
    bed.runFor(std::chrono::seconds(seconds));
    Cost cost;
    cost.processor = (processorSeconds(RUSAGE_SELF) - before) / secondsSince(begin);
    cost.memory = ownFigure("status", "RssAnon:") / 1024;
    cost.threads = ownFigure("status", "Threads:");
    for (const auto& session : sessions) {
        session->stop();
    }
    bed.until("all are idle", [&] {
        return std::ranges::all_of(
            sessions, [](const auto& session) { return session->state() == ConnectionState::idle(); });
    });
    return cost;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    using namespace tarn;
    using namespace tarn::bench;
    CLI::App app("What one, two and four sessions of one source cost");
    std::string source = "system";
    bool processed = false;
    int seconds = 20;
    int most = 4;
    app.add_option("--source", source)->check(CLI::IsMember({"system", "application", "mic"}));
    app.add_flag("--voice-processing", processed, "of the microphone");
    app.add_option("--sessions", most, "the most of them")->check(CLI::Range(1, 4));
    app.add_option("--seconds", seconds, "that each number runs")->check(CLI::PositiveNumber);
    CLI11_PARSE(app, argc, argv);
    setLogSink([](std::string_view) {});
    for (int count = 1; count <= most; count *= 2) {
        // A process of its own each, so that none holds what another needed.
        ChildProcess measured([&](std::FILE* out) {
            ChildProcess surroundings([](std::FILE* told) {
                test::TemporaryFolder folder;
                test::RelayFixture relay(folder.path(), R"({"t":0,"event":{"type":"session.created"}})");
                AudioServer server;
                const OtherProgram player(server, OtherProgram::Plays::swells);
                std::fprintf(told, "%u\n%s\n", unsigned{relay.port()}, relay.token.c_str());
                std::fflush(told);
                for (;;) {
                    std::this_thread::sleep_for(std::chrono::hours(1));
                }
            });
            const std::string port = surroundings.readLine();
            const std::string token = surroundings.readLine();
            try {
                const Cost cost =
                    measure(port, token, captureSource(source).value(), processed, count, seconds);
                std::fprintf(out, "%d session%s of %s: %.2f %% of a core, RssAnon %.1f MiB, %.0f threads\n",
                             count, count == 1 ? "" : "s", source.c_str(), 100 * cost.processor, cost.memory,
                             cost.threads);
            } catch (const std::exception& error) {
                std::fprintf(out, "%d: %s\n", count, error.what());
            }
            std::fflush(out);
        });
        std::printf("%s\n", measured.readLine().c_str());
        std::fflush(stdout);
    }
}
