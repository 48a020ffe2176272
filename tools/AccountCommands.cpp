#include "AccountCommands.h"

#include <algorithm>
#include <iostream>

#include "HiddenInput.h"
#include "RunServices.h"
#include "TarnApp/server/AccessToken.h"
#include "TarnApp/server/Credentials.h"
#include "TarnApp/server/RealTarnServerClient.h"
#include "TarnPlatform/base/Text.h"

namespace tarn::cli {
namespace {

/// Reads the first line of standard input without surrounding blanks; nothing where it cannot be a token.
std::optional<std::string> readToken() {
    const HiddenInput hidden("access token: ");
    std::string line(longestToken + 2, '\0');
    std::cin.getline(line.data(), static_cast<std::streamsize>(line.size()));
    // The count tells a zero byte inside the line from its end. It includes the line feed.
    const auto count = static_cast<std::size_t>(std::cin.gcount()) - (std::cin.good() ? 1 : 0);
    auto token = line.substr(0, count);
    const auto isBlank = [](unsigned char c) { return c == ' ' || c == '\t' || c == '\r'; };
    while (!token.empty() && isBlank(static_cast<unsigned char>(token.back()))) {
        token.pop_back();
    }
    token.erase(token.begin(), std::ranges::find_if_not(token, isBlank));
    return canBeToken(token) ? std::optional(token) : std::nullopt;
}

}  // namespace

Task<ExitStatus> loginWithToken(const Options& options, SerialExecutor main) {
    const auto token = readToken();
    if (!token) {
        complain("standard input holds no access token");
        co_return ExitStatus::failed;
    }
    const auto server = TarnServerClientFactory::make(options.deployment, fixedPat(token));
    const auto account = co_await server->fetchMe();
    if (!account && account.error().meansSignedOut()) {
        complain("the server refused the token: nothing was stored");
        co_return ExitStatus::notSignedIn;
    }
    if (!account) {
        complain("the token could not be checked and is stored all the same: " + diagnosis(account.error()));
    }
    const auto credentials = Credentials::real(main, options.deployment);
    credentials->signIn(*token, account ? std::optional(account->email) : std::nullopt);
    if (!co_await credentials->settled()) {
        complain("the token could not be stored");
        co_return ExitStatus::failed;
    }
    if (account) {
        std::cout << "signed in as " << printable(account->email) << '\n';
    }
    co_return ExitStatus::ended;
}

Task<ExitStatus> logout(const Options& options, SerialExecutor main) {
    const auto credentials = Credentials::real(main, options.deployment);
    const TokenResult token = co_await credentials->token();
    if (!token) {
        complain(keyringError(token.error()).description);
        co_return ExitStatus::failed;
    }
    if (const auto& other = credentials->otherServer()) {
        complain("nobody is signed in here; the sign-in at " + *other + " is kept");
        co_return ExitStatus::ended;
    }
    credentials->forget();
    if (!co_await credentials->settled()) {
        complain("the stored token could not be deleted");
        co_return ExitStatus::failed;
    }
    if (*token) {
        auto server = TarnServerClientFactory::make(options.deployment, fixedPat(*token));
        if (!co_await endsOnServer(std::move(server), Clock::system())) {
            complain("the server could not be told of the sign-out: the token is still good there");
        }
    }
    std::cout << "signed out\n";
    co_return ExitStatus::ended;
}

Task<ExitStatus> showStatus(const Options& options, SerialExecutor main) {
    std::cout << "server: " << options.deployment.apiBase.text() << '\n';
    useTokenOfEnvironment(options.deployment);
    const auto credentials = Credentials::real(main, options.deployment);
    const auto server = TarnServerClientFactory::make(options.deployment, credentials->provider());
    const auto account = co_await server->fetchMe();
    if (account) {
        std::cout << "signed in as " << printable(account->email) << '\n';
        co_return ExitStatus::ended;
    }
    if (account.error().as<TarnServerError::NotAuthenticated>() != nullptr) {
        const auto& other = credentials->otherServer();
        std::cout << "not signed in" << (other ? " here, but at " + printable(*other) : "") << '\n';
        co_return ExitStatus::notSignedIn;
    }
    if (account.error().meansSignedOut()) {
        std::cout << "not signed in: the server refuses the token\n";
        co_return ExitStatus::notSignedIn;
    }
    complain(diagnosis(account.error()));
    co_return ExitStatus::failed;
}

}  // namespace tarn::cli
