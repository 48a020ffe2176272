#include "AccountCommands.h"

#include <algorithm>
#include <iostream>

#include "RunServices.h"
#include "TarnApp/server/AccessToken.h"
#include "TarnApp/server/Keychain.h"
#include "TarnApp/server/TarnServerClientFactory.h"
#include "TarnPlatform/text/Printable.h"

namespace tarn::cli {
namespace {

/// The first line of standard input without surrounding blanks, or nothing where it cannot be a token.
std::optional<std::string> readToken() {
    std::string line(longestToken + 2, '\0');
    std::cin.getline(line.data(), static_cast<std::streamsize>(line.size()));
    // The count tells a zero byte in the line from its end; it includes a line feed that was taken.
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

Task<ExitStatus> loginWithToken(const Options& options) {
    const auto token = readToken();
    if (!token) {
        complain("standard input holds no access token");
        co_return ExitStatus::failed;
    }
    const auto server = TarnServerClientFactory::make(
        options.deployment, [token = *token]() -> std::optional<std::string> { return token; });
    const auto account = co_await server->fetchMe();
    if (!account && account.error().meansSignedOut()) {
        complain("the server refused the token: nothing was stored");
        co_return ExitStatus::notSignedIn;
    }
    if (!account) {
        complain("the token could not be checked and is stored all the same: " + diagnosis(account.error()));
    }
    if (!Keychain::set(*token, Keychain::Account::pat)) {
        complain("the token could not be stored");
        co_return ExitStatus::failed;
    }
    Keychain::remove(Keychain::Account::userEmail);
    if (account) {
        Keychain::set(account->email, Keychain::Account::userEmail);
        std::cout << "signed in as " << printable(account->email) << '\n';
    }
    co_return ExitStatus::ended;
}

Task<ExitStatus> logout(const Options& options) {
    const auto server = TarnServerClientFactory::make(options.deployment);
    static_cast<void>(co_await server->logout());  // the token goes here also when the server cannot be told
    const bool tokenGone = Keychain::remove(Keychain::Account::pat);
    const bool emailGone = Keychain::remove(Keychain::Account::userEmail);
    if (!tokenGone || !emailGone) {
        complain("the stored token could not be deleted");
        co_return ExitStatus::failed;
    }
    std::cout << "signed out\n";
    co_return ExitStatus::ended;
}

Task<ExitStatus> showStatus(const Options& options) {
    std::cout << "server: " << options.deployment.apiBase.text() << '\n';
    useTokenOfEnvironment();
    const auto server = TarnServerClientFactory::make(options.deployment);
    const auto account = co_await server->fetchMe();
    if (account) {
        std::cout << "signed in as " << printable(account->email) << '\n';
        co_return ExitStatus::ended;
    }
    if (account.error().as<TarnServerError::NotAuthenticated>() != nullptr) {
        std::cout << "not signed in\n";
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
