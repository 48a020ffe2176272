#include <QCoreApplication>
#include <csignal>
#include <cstring>
#include <exception>
#include <string>
#include <vector>

#include "Arguments.h"
#include "LinkHost.h"
#include "TarnApp/session/AppLinks.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"
#include "TarnPlatform/logging/Log.h"
#include "TarnPlatform/mainthread/MainThread.h"
#include "TarnPlatform/process/StandardDescriptors.h"

namespace tarn {
namespace {

constexpr std::chrono::seconds servicePatience{10};

/// The arguments as text of our own. Where the system shows the command lines of others, they are blank from
/// now on: a link may hold a token.
std::vector<std::string> takeArguments(int argc, char** argv) {
    std::vector<std::string> words(argv + (argc > 0 ? 1 : 0), argv + argc);
    for (int i = 1; i < argc; ++i) {
        std::memset(argv[i], 0, std::strlen(argv[i]));
    }
    return words;
}

/// So that the answer of the sign-in page finds the way back to this program.
void registerAsLinkHandler() {
    const auto program = SchemeRegistration::runningProgram();
    const Result<void> registered = program ? registerLinks(*program) : std::unexpected(program.error());
    if (!registered) {
        logLine("[tarn] the desktop will not open links with this program: " +
                registered.error().description);
    }
}

int start(int argc, char** argv) {
    // A reader that goes away shows as a failed write, not as the end of the process.
    std::signal(SIGPIPE, SIG_IGN);
    const auto arguments = readArguments(takeArguments(argc, argv));
    switch (arguments.task) {
        case Arguments::Task::wrong:
            logLine("tarn: " + arguments.complaint);
            return 2;
        case Arguments::Task::window:
            registerAsLinkHandler();
            logLine("tarn: this build has no window yet; use tarn-cli");
            return 1;
        case Arguments::Task::service:
        case Arguments::Task::links:
            break;
    }
    int one = 1;
    QCoreApplication application(one, argv);
    const MainThread main;
    const bool isService = arguments.task == Arguments::Task::service;
    LinkHost host(main.executor(), isService ? servicePatience : std::chrono::seconds(0));
    return host.run(arguments.links);
}

}  // namespace
}  // namespace tarn

int main(int argc, char** argv) {
    tarn::holdStandardDescriptors();
    try {
        return tarn::start(argc, argv);
    } catch (const std::exception& error) {
        tarn::logLine(std::string("tarn: ") + error.what());
        return 1;
    }
}
