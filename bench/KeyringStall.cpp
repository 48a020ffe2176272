// How long the main thread stands still while the keyring, or the audio server, does:
// keyring_stall --keyring PID [--audio PID] [--sources N]
// Inside a session with both (scripts/keyring-stall makes one), signed in. Prints the longest time that the
// main thread did not turn, and what the first source shows.
#include <signal.h>

#include <CLI/CLI.hpp>
#include <QCoreApplication>
#include <QEventLoop>
#include <QTimer>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <string>

#include "TarnApp/session/TranslateViewModel.h"
#include "TarnPlatform/base/MainThread.h"

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr auto tick = 2ms;
constexpr auto stopped = 4s;

/// The longest time between two turns of the event loop while `what` happens in it and until `length` has
/// passed.
double longestStall(std::chrono::milliseconds length, const std::function<void()>& what) {
    double longest = 0;
    auto before = Clock::now();
    QEventLoop loop;
    QTimer turns;
    QObject::connect(&turns, &QTimer::timeout, [&] {
        const auto now = Clock::now();
        longest = std::max(longest, std::chrono::duration<double, std::milli>(now - before).count());
        before = now;
    });
    turns.start(tick);
    QTimer::singleShot(0, what);
    QTimer::singleShot(length, &loop, &QEventLoop::quit);
    loop.exec();
    return longest;
}

std::shared_ptr<tarn::TranslateViewModel> makeModel(const tarn::MainThread& main, int sources) {
    auto services = tarn::ViewModelServices::real(main.executor());
    services.defaults = tarn::UserDefaults::inMemory();
    const auto model = tarn::TranslateViewModel::make(std::move(services));
    if (sources > 1) {
        model->setMode(tarn::AppMode::conversation);
    }
    while (static_cast<int>(model->sessions().size()) < sources) {
        model->addSession();
    }
    for (const auto& session : model->sessions()) {
        session->setSourceLang("en");
        session->setTargetLang("es");
    }
    return model;
}

void say(const char* what, double stall, const tarn::TranslateViewModel& model) {
    const auto& session = *model.sessions().front();
    using Case = tarn::ConnectionState::Case;
    const auto state = session.state().kind();
    std::printf("%-58s %7.1f ms   %s %s\n", what, stall,
                state == Case::running ? "running"
                : state == Case::idle  ? "idle"
                : state == Case::error ? "error:"
                                       : "connecting",
                session.errorMessage().toUtf8().constData());
    std::fflush(stdout);
}

}  // namespace

int main(int argc, char** argv) {
    CLI::App options("How long the main thread stands still");
    pid_t keyring = 0;
    pid_t audio = 0;
    int sources = 1;
    options.add_option("--keyring", keyring)->required();
    options.add_option("--audio", audio);
    options.add_option("--sources", sources)->check(CLI::Range(1, 4));
    CLI11_PARSE(options, argc, argv);
    QCoreApplication application(argc, argv);
    const tarn::MainThread main;

    std::printf("%d source(s)\n", sources);
    auto model = makeModel(main, sources);
    say("opened", longestStall(2s, [] {}), *model);
    double stall = longestStall(5s, [&] {
        ::kill(keyring, SIGSTOP);
        model->startAll();
    });
    say("Start, the keyring stops after the opening", stall, *model);
    ::kill(keyring, SIGCONT);
    longestStall(2s, [&] { model->stopAll(); });

    ::kill(keyring, SIGSTOP);
    const auto begin = Clock::now();
    model = makeModel(main, sources);
    std::printf("%-58s %7.1f ms\n", "the model made, the keyring stopped",
                std::chrono::duration<double, std::milli>(Clock::now() - begin).count());
    QTimer::singleShot(stopped, [&] { ::kill(keyring, SIGCONT); });
    say("Start, the keyring stopped for 4 s before the opening", longestStall(8s, [&] { model->startAll(); }),
        *model);
    say("Start again", longestStall(3s, [&] { model->startAll(); }), *model);
    longestStall(2s, [&] { model->stopAll(); });

    if (audio != 0) {
        ::kill(audio, SIGSTOP);
        say("list of microphones, the audio server stopped", longestStall(3s, [&] { model->refreshMics(); }),
            *model);
        say("Start, the audio server stopped", longestStall(5s, [&] { model->startAll(); }), *model);
        ::kill(audio, SIGCONT);
        longestStall(3s, [&] { model->stopAll(); });
    }
    return 0;
}
