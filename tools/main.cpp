#include <boost/asio/co_spawn.hpp>
#include <boost/asio/io_context.hpp>
#include <csignal>
#include <exception>
#include <iostream>

#include "AccountCommands.h"
#include "BrowserSignIn.h"
#include "ListCommands.h"
#include "Options.h"
#include "TarnPlatform/process/OwnProcess.h"
#include "TranslationRun.h"

namespace tarn::cli {
namespace {

Task<ExitStatus> perform(asio::io_context& context, const Options& options) {
    switch (options.command) {
        case Command::apps:
            co_return co_await listApps();
        case Command::devices:
            co_return listDevices();
        case Command::login:
            co_return co_await loginInBrowser(options, context.get_executor());
        case Command::loginWithToken:
            co_return co_await loginWithToken(options, context.get_executor());
        case Command::logout:
            co_return co_await logout(options, context.get_executor());
        case Command::status:
            co_return co_await showStatus(options, context.get_executor());
        case Command::run:
            break;
    }
    co_return co_await TranslationRun::run(std::make_shared<TranslationRun>(context, options));
}

ExitStatus start(int argc, const char* const* argv) {
    // If the reader of a pipe goes away, the write fails and the process goes on.
    std::signal(SIGPIPE, SIG_IGN);
    const auto read = readOptions(argc, argv);
    if (const auto* const status = std::get_if<ExitStatus>(&read)) {
        return *status;
    }
    // The context is made before the network thread and so destroyed after it, because objects that the
    // thread releases last may still use it.
    static asio::io_context context(1);
    auto status = ExitStatus::failed;
    asio::co_spawn(context, perform(context, std::get<Options>(read)),
                   [&](const std::exception_ptr& error, ExitStatus result) {
                       if (error) {
                           std::rethrow_exception(error);
                       }
                       status = result;
                       context.stop();
                   });
    context.run();
    // Cancelled tasks must release the network while it still exists, so they run to their end here.
    context.restart();
    while (context.poll() > 0) {
    }
    if (!std::cout.flush()) {
        complain("standard output takes no more");
        status = ExitStatus::failed;
    }
    return status;
}

}  // namespace
}  // namespace tarn::cli

int main(int argc, char** argv) {
    tarn::mapLargeBlocks();
    tarn::holdStandardDescriptors();
    try {
        return static_cast<int>(tarn::cli::start(argc, argv));
    } catch (const std::exception& error) {
        tarn::cli::complain(error.what());
        return static_cast<int>(tarn::cli::ExitStatus::failed);
    }
}
