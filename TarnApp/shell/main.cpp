#include <QCoreApplication>
#include <QGuiApplication>
#include <csignal>
#include <cstring>
#include <exception>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "Arguments.h"
#include "EndSignals.h"
#include "Fonts.h"
#include "LinkHandover.h"
#include "LinkHost.h"
#include "MainWindowLoader.h"
#include "Renderer.h"
#include "SubtitlePrinter.h"
#include "TarnApp.h"
#include "TarnApp/doctor/Doctor.h"
#include "TarnApp/session/Link.h"
#include "TarnCore/deployment/Deployment.h"
#include "TarnPlatform/base/Log.h"
#include "TarnPlatform/base/MainThread.h"
#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"
#include "TarnPlatform/process/OwnProcess.h"
#include "TarnPlatform/windows/WindowSystem.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds servicePatience{10};

/// Copies the arguments and blanks the originals, which other users can read in the list of processes: a link
/// may hold a token.
std::vector<std::string> takeArguments(int argc, char** argv) {
    std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    for (int i = 1; i < argc; ++i) {
        std::memset(argv[i], 0, std::strlen(argv[i]));
    }
    return words;
}

/// The sign-in page answers with a link, which must open this program.
void registerAsLinkHandler() {
    const auto program = SchemeRegistration::runningProgram();
    const Result<void> registered = program ? registerLinks(*program) : std::unexpected(program.error());
    if (!registered) {
        logLine("[tarn] the desktop will not open links with this program: " +
                registered.error().description);
    }
}

/// False, after one line, where the configured addresses of the servers cannot be read: nothing would work.
bool knowsServers() {
    if (const auto& deployment = Deployment::current(); !deployment) {
        logLine("tarn: " + deployment.error().description);
        return false;
    }
    return true;
}

int showWindow(int argc, char** argv, const Arguments& arguments) {
    Renderer::choose();
    BusThread bus;  // connects while the window is made ready
    QGuiApplication application(argc, argv);
    QGuiApplication::setApplicationName(QStringLiteral("tarn"));
    QGuiApplication::setApplicationDisplayName(QStringLiteral("Tarn"));
    QGuiApplication::setDesktopFileName(QLatin1String(applicationID));
    QGuiApplication::setQuitOnLastWindowClosed(false);  // the delegate decides
    MainWindowLoader loader;
    Fonts::choose();
    MainWindowLoader::goOn();
    const MainThread main;
    std::unique_ptr<TarnApp> app;
    const auto instance =
        SingleInstance::claim(bus, applicationID, main.executor(),
                              {.activate = [&app] { app->activate(); },
                               .open = [&app](const std::vector<std::string>& urls) { app->openUrls(urls); },
                               .action = [&app](const std::string& name) { app->perform(name); }});
    if (!instance->isPrimary()) {
        const auto answer =
            arguments.links.empty() ? instance->activate() : instance->forward(arguments.links);
        if (!answer) {
            logLine("[tarn] the running program does not answer: " + answer.error().description);
        }
        return answer ? 0 : 1;
    }
    if (!knowsServers()) {
        return 1;
    }
    registerAsLinkHandler();
    // Requests from the bus since the claim wait in the event loop, which must not run before `app` is set.
    app = std::make_unique<TarnApp>(ViewModelServices::real(main.executor()), bus, loader);
    MainWindowLoader::goOn();
    Fonts::warmUp();
    if (!app->open()) {
        return 1;
    }
    app->openUrls(arguments.links);
    std::optional<SubtitlePrinter> printer;
    if (SubtitlePrinter::isWanted()) {
        printer.emplace(*app->viewModel());
    }
    const EndSignals signals([] { QGuiApplication::quit(); });
    const int status = QGuiApplication::exec();
    app->stopSessions();
    return status;
}

int carryOutLinks(char** argv, const Arguments& arguments) {
    int one = 1;
    QCoreApplication application(one, argv);
    const MainThread main;
    const bool isService = arguments.task == Arguments::Task::service;
    BusThread bus;
    LinkHost host(bus, main.executor(), isService ? servicePatience : std::chrono::seconds(0));
    return host.run(arguments.links);
}

int start(int argc, char** argv) {
    // If the reader of a pipe goes away, the write fails and the process goes on.
    std::signal(SIGPIPE, SIG_IGN);
    auto words = takeArguments(argc, argv);
    const bool isHandedOver = words == std::vector<std::string>{LinkHandover::argument};
    const auto arguments = readArguments(isHandedOver ? LinkHandover::take() : words);
    if (!isHandedOver && arguments.task == Arguments::Task::links &&
        LinkHandover::isNeeded(arguments.links)) {
        if (const auto started = LinkHandover::start(arguments.links)) {
            return 0;
        } else {
            logLine("[tarn] the link stays in sight: " + started.error().description);
        }
    }
    if (arguments.task == Arguments::Task::wrong) {
        logLine("tarn: " + arguments.complaint);
        return 2;
    }
    if (arguments.task == Arguments::Task::doctor) {
        Doctor::examine(arguments.asJson ? Doctor::Format::json : Doctor::Format::text);
    }
    const auto display = WindowSystem::choose();
    if (display) {
        return showWindow(argc, argv, arguments);
    }
    if (arguments.task == Arguments::Task::window) {
        logLine("tarn: " + display.error().description + "; tarn-cli works without one");
        return 1;
    }
    return carryOutLinks(argv, arguments);
}

}  // namespace
}  // namespace tarn

int main(int argc, char** argv) {
    tarn::mapLargeBlocks();
    tarn::holdStandardDescriptors();
    try {
        return tarn::start(argc, argv);
    } catch (const std::exception& error) {
        tarn::logLine(std::string("tarn: ") + error.what());
        return 1;
    }
}
