#include "BrowserSignIn.h"

#include <boost/asio/experimental/awaitable_operators.hpp>
#include <boost/asio/signal_set.hpp>
#include <csignal>
#include <filesystem>
#include <iostream>
#include <memory>

#include "RunServices.h"
#include "TarnApp/session/Link.h"
#include "TarnApp/session/URLSchemeHandler.h"
#include "TarnPlatform/base/EventQueue.h"
#include "TarnPlatform/base/Text.h"
#include "TarnPlatform/bus/BusThread.h"
#include "TarnPlatform/desktop/SchemeRegistration.h"
#include "TarnPlatform/desktop/SingleInstance.h"

namespace tarn::cli {
namespace {

using namespace asio::experimental::awaitable_operators;

constexpr std::chrono::minutes patience{10};
constexpr std::chrono::seconds lookEvery{1};

/// Lets the desktop open links with the program beside this one, which hands them to the running program.
void registerLinkHandler() {
    const auto own = SchemeRegistration::runningProgram();
    const auto handler = own ? own->parent_path() / "tarn" : std::filesystem::path();
    if (!own || !std::filesystem::exists(handler)) {
        complain("the program that takes the browser's answer is missing: build or install 'tarn'");
    } else if (const auto registered = registerLinks(handler); !registered) {
        complain("the browser's answer may not find its way: " + registered.error().description);
    }
}

Task<void> interrupted(SerialExecutor main) {
    asio::signal_set interrupts(main, SIGINT, SIGTERM);
    static_cast<void>(co_await interrupts.async_wait(asValue));
}

/// Waits for the first answer and returns whether it is a sign-in.
Task<bool> firstAnswer(EventQueue<bool> answers) {
    co_return (co_await answers.next()).value_or(false);
}

/// Waits until another program has stored a new token. A token that only disappears, because the server
/// refused it, does not count.
Task<bool> newToken(std::shared_ptr<Credentials> credentials, std::optional<std::string> before) {
    for (;;) {
        const TokenResult token = co_await credentials->token();
        if (token && *token && *token != before) {
            co_return true;
        }
        co_await sleepFor(Clock::system(), lookEvery);
    }
}

}  // namespace

Task<ExitStatus> loginInBrowser(const Options& options, SerialExecutor main) {
    if (const auto allowed = Deployment::mayOpenPage(options.deployment); !allowed) {
        complain(allowed.error().description);
        co_return ExitStatus::failed;
    }
    const ViewModelServices services = runServices(main, options.deployment);
    const auto model = TranslateViewModel::make(services);
    // The sign-in that exists already is not the answer.
    const EventQueue<bool> looked;
    QObject::connect(model.get(), &TranslateViewModel::accountChecked, model.get(),
                     [looked] { looked.push(true); });
    co_await looked.next();
    const auto before = services.credentials->heldToken();
    const EventQueue<bool> answers;
    QObject::connect(model.get(), &TranslateViewModel::isLoggedInChanged, model.get(),
                     [answers, state = model.get()] {
                         if (state->isLoggedIn()) {  // false where an older token was refused
                             answers.push(true);
                         }
                     });
    URLSchemeHandler handler;
    handler.credentials = services.credentials;
    handler.viewModel = model;
    // A page that cancels the sign-in sends a link, too; after a sign-in the answer has been noted already.
    handler.bringToFront = [answers] { answers.push(false); };
    SingleInstance::Callbacks callbacks;
    callbacks.open = [&handler](const std::vector<std::string>& urls) {
        for (const std::string& url : urls) {
            handler.handle(url);
        }
    };
    BusThread bus;
    const auto instance = SingleInstance::claim(bus, applicationID, main, std::move(callbacks));
    registerLinkHandler();

    if (const auto page = model->signInPage()) {
        std::cout << "Sign in with your browser. If it does not open, go to:\n  " << page->text()
                  << std::endl;
    }
    model->startSignIn();
    auto signIn = instance->isPrimary() ? firstAnswer(answers) : newToken(services.credentials, before);
    auto limit = sleepFor(Clock::system(), patience);
    const auto outcome = co_await (std::move(signIn) || std::move(limit) || interrupted(main));
    if (outcome.index() != 0 || !std::get<0>(outcome)) {
        complain("nobody signed in");
        co_return ExitStatus::notSignedIn;
    }
    if (!co_await services.credentials->settled()) {
        complain("the token could not be stored");
        co_return ExitStatus::failed;
    }
    const auto email = co_await services.credentials->email();
    std::cout << "signed in" << (email ? " as " + printable(*email) : "") << '\n';
    co_return ExitStatus::ended;
}

}  // namespace tarn::cli
