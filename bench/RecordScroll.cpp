// The window of what was said with ten thousand utterances: how long each frame takes while it is scrolled,
// from the change to the picture, and what eight hours of speech hold in memory.
#include <CLI/CLI.hpp>
#include <QEventLoop>
#include <QGuiApplication>
#include <QQmlEngine>
#include <QQuickItem>
#include <QQuickWindow>
#include <cstdio>
#include <fstream>

#include "Figures.h"
#include "TarnApp/views/model/ViewTypes.h"
#include "TarnApp/views/record/RecordWindowController.h"
#include "TarnApp/views/style/QmlModules.h"
#include "TarnPlatform/base/MainThread.h"
#include "TarnPlatform/bus/BusThread.h"

namespace tarn::bench {
namespace {

constexpr double frameTime = 1000.0 / 60;

struct Options {
    int utterances = 10000;
    int steps = 2000;
    int points = 60;  ///< of one step
};

double ownMebibytes() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("RssAnon:")) {
            return std::stod(line.substr(8)) / 1024;
        }
    }
    return 0;
}

Utterance said(int number) {
    const char* const originals[] = {
        "The travel budget has grown by a third this year, and nobody has told me why.", "Shall we begin?",
        "Good morning, everybody, and thank you very much for coming so early today, in spite of "
        "the snow and of the trains that did not run."};
    const char* const translations[] = {"差旅预算今年增加了三分之一，但没有人告诉我原因。", "我们开始好吗？",
                                        "各位早上好，非常感谢你们不顾大雪和停运的火车，今天这么早就来了。"};
    Utterance utterance;
    utterance.source = number % 3;
    utterance.sourceName = number % 3 == 0 ? "Zoom" : number % 3 == 1 ? "Headset" : "Firefox";
    utterance.saidAt = Utterance::TimePoint(std::chrono::seconds(1700000000 + 4 * number));
    utterance.text = originals[number % 3] + (" " + std::to_string(number));
    utterance.translation = translations[number % 3];
    return utterance;
}

/// Scrolls `list` step by step and takes the time of each until it is on the screen, in milliseconds.
std::vector<double> scroll(QQuickWindow& window, QQuickItem& list, const Options& options, int direction) {
    std::vector<double> times;
    for (int step = 0; step < options.steps; ++step) {
        QEventLoop drawn;
        QObject::connect(&window, &QQuickWindow::frameSwapped, &drawn, &QEventLoop::quit,
                         Qt::QueuedConnection);
        const auto begin = SteadyClock::now();
        list.setProperty("contentY", list.property("contentY").toDouble() + direction * options.points);
        window.update();
        drawn.exec();
        times.push_back(1000 * secondsSince(begin));
    }
    return times;
}

void report(const char* name, const std::vector<double>& times) {
    const auto late = std::ranges::count_if(times, [](double time) { return time > frameTime; });
    std::printf(
        "%-18s %zu frames: median %.1f ms, 95 %% %.1f ms, 99 %% %.1f ms, worst %.1f ms, over 16.7 ms %.2f "
        "%%\n",
        name, times.size(), quantile(times, 0.5), quantile(times, 0.95), quantile(times, 0.99),
        quantile(times, 1), 100.0 * static_cast<double>(late) / static_cast<double>(times.size()));
}

int run(int argc, char** argv) {
    Options options;
    CLI::App arguments("Scrolls the window of what was said");
    arguments.add_option("--utterances", options.utterances);
    arguments.add_option("--steps", options.steps);
    arguments.add_option("--points", options.points);
    CLI11_PARSE(arguments, argc, argv);

    const QGuiApplication application(argc, argv);
    const MainThread main;
    UserDefaults::setStandard(UserDefaults::inMemory());
    LocalizationManager localization;
    Loc::manager = &localization;
    registerRecordModule();
    QQmlEngine engine;
    engine.addImportPath(QStringLiteral("qrc:/qt/qml"));
    BusThread bus;
    auto services = ViewModelServices::real(main.executor());
    services.defaults = UserDefaults::inMemory();
    services.recordFolder.clear();
    const auto vm = TranslateViewModel::make(services);

    const double empty = ownMebibytes();
    constexpr int eightHours = 8 * 60 * 15;
    for (int number = 0; number < options.utterances; ++number) {
        if (number == eightHours) {
            std::printf("%d utterances (eight hours, 15 a minute): %.1f MiB\n", number,
                        ownMebibytes() - empty);
        }
        vm->record()->add(said(number));
    }
    const double before = ownMebibytes();
    RecordWindowController controller(engine, *vm, bus);
    const auto opening = SteadyClock::now();
    controller.show();
    QQuickWindow* const window = controller.window();
    auto* const list = window == nullptr ? nullptr : window->findChild<QQuickItem*>("list");
    if (list == nullptr) {
        std::fprintf(stderr, "there is no list\n");
        return 1;
    }
    QEventLoop drawn;
    QObject::connect(window, &QQuickWindow::frameSwapped, &drawn, &QEventLoop::quit, Qt::QueuedConnection);
    drawn.exec();
    std::printf("opened with %d utterances after %.0f ms, %.1f MiB\n", options.utterances,
                1000 * secondsSince(opening), ownMebibytes() - before);
    report("up, line by line", scroll(*window, *list, options, -1));
    report("down", scroll(*window, *list, options, 1));
    options.points = static_cast<int>(window->height());
    options.steps /= 4;
    report("up, page by page", scroll(*window, *list, options, -1));
    std::printf("in the end %.1f MiB\n", ownMebibytes() - before);
    return 0;
}

}  // namespace
}  // namespace tarn::bench

int main(int argc, char** argv) {
    return tarn::bench::run(argc, argv);
}
