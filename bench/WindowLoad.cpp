// What the main window costs: nothing when idle; with four sessions that run against a relay and capture what
// another program plays, at 40 texts a second in all, the processor's time and the way from a text to the
// frame that shows it.
#include <CLI/CLI.hpp>
#include <QGuiApplication>
#include <QQmlApplicationEngine>
#include <QQmlContext>
#include <QQuickWindow>
#include <QTimer>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <thread>

#include "ChildProcess.h"
#include "Figures.h"
#include "OtherProgram.h"
#include "SessionBed.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/session/TranslateViewModel.h"
#include "TarnApp/views/model/ViewTypes.h"
#include "TarnApp/views/style/QmlModules.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/MainThread.h"
#include "TarnPlatform/secrets/MemorySecretStore.h"
#include "session/RelayFixture.h"
#include "support/Program.h"

namespace tarn::bench {
namespace {

using namespace std::chrono_literals;

constexpr double mostOfACore = 0.10;
constexpr double frame = 1.0 / 60;
constexpr double mostFrames = 2;

struct Options {
    int seconds = 20;
    int idleSeconds = 10;
    int width = 1280;
    int height = 220;
    bool mini = false;
    bool still = false;   ///< nothing plays
    bool hidden = false;  ///< the window is not drawn; its texts are still laid out
};

/// Ten events a second for a stream, in turn of what is said and of its translation, as sentences that grow.
std::string script(int seconds) {
    const std::string words[] = {"the ",  "meeting ", "will ", "begin ",     "in ",  "ten ",
                                 "more ", "minutes ", "when ", "everybody ", "has ", "arrived "};
    std::string all = "{\"t\":0,\"event\":{\"type\":\"session.created\"}}\n";
    std::string sentence;
    for (int event = 0; event < seconds * 10; ++event) {
        if (event % 2 == 0) {
            sentence = event % 50 == 0 ? "" : sentence;
            sentence += words[static_cast<std::size_t>(event / 2) % std::size(words)];
        }
        const std::string type = event % 2 == 0 ? "conversation.item.input_audio_transcription.text"
                                                : "response.audio_transcript.text";
        all += "{\"t\":" + std::to_string(0.1 * event) + ",\"event\":{\"type\":\"" + type + R"(","text":")" +
               sentence + "\",\"stash\":\"\"}}\n";
    }
    return all;
}

/// How often any thread of this process has gone to sleep by itself, which is how often it was woken.
std::int64_t wakeUps() {
    std::int64_t sum = 0;
    for (const auto& task : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream status(task.path() / "status");
        for (std::string line; std::getline(status, line);) {
            if (line.starts_with("voluntary_ctxt_switches:")) {
                sum += std::stoll(line.substr(line.find(':') + 1));
            }
        }
    }
    return sum;
}

/// From a text in a session's field to the first frame after it.
class FrameDelays {
public:
    FrameDelays(TranslateViewModel& model, QQuickWindow& window) {
        for (const auto& session : model.sessions()) {
            const auto note = [this] { set_.push_back(SteadyClock::now()); };
            QObject::connect(session.get(), &TranslateSession::sourceTextChanged, &window, note);
            QObject::connect(session.get(), &TranslateSession::translationTextChanged, &window, note);
        }
        const auto inPlace = Qt::DirectConnection;
        QObject::connect(
            &window, &QQuickWindow::afterSynchronizing, &window,
            [this] {
                drawn_.insert(drawn_.end(), set_.begin(), set_.end());
                set_.clear();
            },
            inPlace);
        QObject::connect(
            &window, &QQuickWindow::frameSwapped, &window,
            [this] {
                ++frames;
                for (const auto& at : std::exchange(drawn_, {})) {
                    delays.push_back(secondsSince(at) / frame);
                }
            },
            inPlace);
    }
    std::vector<double> delays;  ///< in frames
    int frames = 0;

private:
    std::vector<SteadyClock::time_point> set_;
    std::vector<SteadyClock::time_point> drawn_;
};

void turn(std::chrono::milliseconds time) {
    QEventLoop loop;
    QTimer::singleShot(time, &loop, &QEventLoop::quit);
    loop.exec();
}

ViewModelServices services(SessionBed& bed, const MainThread& main, std::shared_ptr<UserDefaults> defaults,
                           const std::string& port, const std::string& token) {
    ViewModelServices made = ViewModelServices::real(main.executor());
    made.defaults = std::move(defaults);
    made.session.workers = bed.services().workers;
    made.makeServerClient = [port, token](const PatProvider&) {
        return std::make_shared<RealTarnServerClient>(
            Url::parse("http://127.0.0.1:" + port + "/tarn").value(), fixedPat(token));
    };
    return made;
}

bool run(QGuiApplication&, const Options& options, const std::string& port, const std::string& token) {
    MainThread main;
    SessionBed bed;
    const auto secrets = std::make_shared<MemorySecretStore>();
    Keychain::useStore(secrets);
    Keychain::set(token, Keychain::Account::pat);
    LocalizationManager language;
    Loc::manager = &language;
    registerOverlayModule();

    const auto model = TranslateViewModel::make(services(bed, main, UserDefaults::standard(), port, token));
    model->setMode(AppMode::conversation);
    model->addSession();
    model->addSession();
    model->setMiniMode(options.mini);
    QObject onboarding;
    QQmlApplicationEngine engine;
    engine.addImportPath("qrc:/qt/qml");
    engine.rootContext()->setContextProperty("vm", model.get());
    engine.rootContext()->setContextProperty("onboarding", &onboarding);
    engine.rootContext()->setContextProperty("size", QSize(options.width, options.height));
    engine.rootContext()->setContextProperty("shown", !options.hidden);
    engine.loadData(R"(
import QtQuick
import Tarn.Overlay
Window {
    flags: Qt.FramelessWindowHint
    color: "transparent"
    visible: shown
    width: size.width
    height: size.height
    ContentView { anchors.fill: parent; vm: Window.window.model; onboarding: Window.window.coordinator }
    property var model: vm
    property var coordinator: onboarding
})");
    if (engine.rootObjects().isEmpty()) {
        throw std::runtime_error("the window cannot be made");
    }
    auto& window = *qobject_cast<QQuickWindow*>(engine.rootObjects().front());

    turn(2s);
    const std::int64_t before = wakeUps();
    const double busyBefore = processorSeconds(RUSAGE_SELF);
    turn(std::chrono::seconds(options.idleSeconds));
    std::printf("idle for %d s: %lld wake-ups, %.3f s of the processor\n", options.idleSeconds,
                static_cast<long long>(wakeUps() - before), processorSeconds(RUSAGE_SELF) - busyBefore);

    FrameDelays measured(*model, window);
    for (const auto& session : model->sessions()) {  // not in step: each text comes in its own time
        session->start(1, 1, TranslateSession::Backend::server(model->serverClient()));
        turn(127ms);
    }
    turn(3s);
    measured.delays.clear();
    measured.frames = 0;
    const double busy = processorSeconds(RUSAGE_SELF);
    const auto begin = SteadyClock::now();
    turn(std::chrono::seconds(options.seconds));
    const double part = (processorSeconds(RUSAGE_SELF) - busy) / secondsSince(begin);
    const double texts = static_cast<double>(measured.delays.size()) / options.seconds;
    const double framesASecond = static_cast<double>(measured.frames) / options.seconds;
    if (options.hidden) {
        std::printf("not drawn, four sessions for %d s: %.2f %% of a core\n", options.seconds, 100 * part);
        return true;
    }
    if (measured.delays.empty()) {
        throw std::runtime_error("no text was shown: " +
                                 model->sessions().front()->errorMessage().toStdString());
    }
    const double usual = median(measured.delays);
    const double late = quantile(measured.delays, 0.99);
    model->stopAll();
    turn(1s);
    const bool isGood = part <= mostOfACore && usual <= mostFrames;
    std::printf(
        "%s mode, %d x %d, four sessions for %d s: %.1f texts/s, %.1f frames/s, %.2f %% of a core; text to "
        "frame: "
        "median %.2f, 99 %% %.2f frames of 16.7 ms  %s\n",
        options.mini ? "mini" : "normal", options.width, options.height, options.seconds, texts,
        framesASecond, 100 * part, usual, late, isGood ? "ok" : "TOO MUCH");
    engine.rootObjects().front()->deleteLater();
    turn(100ms);
    Keychain::useStore(nullptr);
    return isGood;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    using namespace tarn::bench;
    Options options;
    CLI::App app("The cost of the main window; marks: 10 % of a core, a median of two frames");
    app.add_option("--seconds", options.seconds)->check(CLI::PositiveNumber);
    app.add_option("--idle-seconds", options.idleSeconds)->check(CLI::PositiveNumber);
    app.add_option("--width", options.width);
    app.add_option("--height", options.height);
    app.add_flag("--mini", options.mini);
    app.add_flag("--hidden", options.hidden, "the window is not drawn; its texts are still laid out");
    app.add_flag("--still", options.still, "nothing plays, so levels do not move");
    CLI11_PARSE(app, argc, argv);
    // The relay and the other program, whose cost is not ours.
    ChildProcess surroundings([&](std::FILE* out) {
        tarn::test::TemporaryFolder folder;
        tarn::test::RelayFixture relay(folder.path(), script(options.seconds + 10));
        std::unique_ptr<tarn::AudioServer> server;
        std::unique_ptr<OtherProgram> player;
        if (!options.still) {
            server = std::make_unique<tarn::AudioServer>();
            player = std::make_unique<OtherProgram>(*server, OtherProgram::Plays::swells);
        }
        std::fprintf(out, "%u\n%s\n", unsigned{relay.port()}, relay.token.c_str());
        std::fflush(out);
        for (;;) {
            std::this_thread::sleep_for(std::chrono::hours(1));
        }
    });
    const std::string port = surroundings.readLine();
    const std::string token = surroundings.readLine();
    ::setenv("QT_QUICK_BACKEND", "software", 0);
    tarn::setLogSink([](std::string_view) {});
    QQuickWindow::setDefaultAlphaBuffer(true);
    QGuiApplication qt(argc, argv);
    try {
        return run(qt, options, port, token) ? 0 : 1;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return 2;
    }
}
